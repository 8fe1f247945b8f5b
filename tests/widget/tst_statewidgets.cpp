#include "widget/measure/powersupplylcd.h"
#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"
#include "widget/statewidgetbox.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace zelt::widget;
using zelt::widget::measure::PowerSupplyLCD;
using zelt::widget::measure::ValueWidget;

namespace {

// Brightest pixel of a picture, by HSV value: the text of a lit label.
int brightest(QImage const& image)
{
    int best = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            best = qMax(best, QColor(image.pixel(x, y)).value());
    }
    return best;
}

QColor textColour(StateLabel const& label)
{
    return label.label()->palette().color(QPalette::WindowText);
}

} // namespace

class TestStateWidgets : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void currentState_data();
    void currentState();
    void labelColour();
    void dispatch_data();
    void dispatch();
    void valueWidget();
    void panel();
};

void TestStateWidgets::currentState_data()
{
    QTest::addColumn<QList<int>>("on");
    QTest::addColumn<QList<int>>("off");
    QTest::addColumn<int>("current");
    QTest::newRow("nothing on") << QList<int> {} << QList<int> {} << int(AbstractStateWidget::Dimmed);
    QTest::newRow("lit") << QList<int> {2} << QList<int> {} << 2;
    QTest::newRow("alarm wins over lit") << QList<int> {3, 2} << QList<int> {} << 3;
    QTest::newRow("lit again after alarm") << QList<int> {1, 2, 3} << QList<int> {3} << 2;
    QTest::newRow("unknown states ignored") << QList<int> {-1, 4, 31, 99} << QList<int> {} << 0;
}

void TestStateWidgets::currentState()
{
    QFETCH(QList<int>, on);
    QFETCH(QList<int>, off);
    QFETCH(int, current);
    StateLabel label("OVP");
    for (int s : on)
        label.setStateOn(s, true);
    for (int s : off)
        label.setStateOn(s, false);
    QCOMPARE(label.currentState(), current);
}

void TestStateWidgets::labelColour()
{
    StateLabel label("CV");
    QVERIFY(label.color(2, true) != label.color(0, true)); // dimming shows
    QCOMPARE(label.color(42, true), label.color(0, true));
    // The inner label shows the colour of the current state, also when it changes while on.
    label.setEnabledTextColor(QColor(255, 255, 0));
    label.setStateOn(2, true);
    QCOMPARE(textColour(label), QColor(255, 255, 0));
    label.setEnabledTextColor(QColor(0, 255, 0));
    QCOMPARE(textColour(label), QColor(0, 255, 0));
    label.setStateOn(2, false);
    QCOMPARE(textColour(label), label.color(0, true));
}

void TestStateWidgets::dispatch_data()
{
    QTest::addColumn<bool>("dispatch");
    QTest::newRow("dispatching") << true;
    QTest::newRow("not dispatching") << false;
}

void TestStateWidgets::dispatch()
{
    QFETCH(bool, dispatch);
    StateWidgetBox box;
    auto* a = new StateLabel("a");
    auto* b = new StateLabel("b");
    box.append(a);
    box.append(b);
    box.dispatchToWidgets(dispatch);
    QSignalSpy spy(a, &AbstractStateWidget::stateChanged);
    box.setStateOn(2, true);
    QVERIFY(box.isStateOn(2));
    QCOMPARE(a->isStateOn(2), dispatch);
    QCOMPARE(b->isStateOn(2), dispatch);
    QCOMPARE(spy.count(), dispatch ? 1 : 0);

    // A widget inserted into a lit box takes the box's states if it dispatches.
    auto* late = new StateLabel("late");
    box.insert(0, late);
    QCOMPARE(late->isStateOn(2), dispatch);
    box.setStateOn(2, false);
    QVERIFY(!a->isStateOn(2));
    QVERIFY(!late->isStateOn(2));
}

void TestStateWidgets::valueWidget()
{
    ValueWidget value(nullptr, {});
    value.setValue("12.345");
    value.setUnit("V");
    QCOMPARE(value.count(), 2);
    value.resize(value.sizeHint());
    int const dim = brightest(value.grab().toImage());
    value.setStateOn(2, true);
    QVERIFY(value.valueWidget()->isStateOn(2));
    QVERIFY(value.unitWidget()->isStateOn(2));
    int const lit = brightest(value.grab().toImage());
    QVERIFY2(lit - dim > 100, qPrintable(QString("lit %1, dimmed %2").arg(lit).arg(dim)));
    value.show();
    QVERIFY(value.unitWidget()->isVisible());
    value.setUnit(QString());
    QVERIFY(!value.unitWidget()->isVisible());
}

void TestStateWidgets::panel()
{
    // As the instrument window builds it: five annunciators, three readings, and the group
    // readouts of voltage, current and power inserted at 2, 1 and 0; the current one hidden.
    PowerSupplyLCD lcd(5, 3, 0, 0, 0, nullptr, {});
    QList<ValueWidget*> own;
    QList<ValueWidget*> group;
    for (int i = 0; i < 3; ++i) {
        own << lcd.measureWidget(i);
        own.last()->setValue(QStringLiteral("%1.000").arg(12 * (i + 1)));
        own.last()->setUnit(QStringList {"V", "A", "W"}.at(i));
        group << new ValueWidget(nullptr, {});
        group.last()->setValue(QStringLiteral("%1.00").arg(24 * (i + 1)));
    }
    for (int i : {2, 1, 0})
        lcd.measure()->insert(i, group.at(i));
    group.at(0)->show();
    group.at(1)->hide();
    group.at(2)->show();
    for (int i = 0; i < lcd.headerWidgetCount(); ++i)
        lcd.headerWidget(i)->setText(QStringList {"Normal", "VHS", "CV", "OVP", "OCP"}.at(i));
    lcd.refreshLayout();

    QList<ValueWidget*> readings;
    for (int i = 0; i < lcd.measureWidgetCount(); ++i) {
        readings << lcd.measureWidget(i);
        readings.last()->dispatchToWidgets(true);
    }
    QCOMPARE(readings,
             (QList<ValueWidget*> {group.at(0), own.at(0), group.at(1), own.at(1), group.at(2), own.at(2)}));

    lcd.resize(lcd.sizeHint().expandedTo(QSize(320, 0)));
    lcd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&lcd));
    // Visible readings stack top to bottom in the box's order; the hidden one takes no room.
    // The annunciators stand in a column left of them.
    QList<QWidget*> const visible {group.at(0), own.at(0), own.at(1), group.at(2), own.at(2)};
    for (int i = 1; i < visible.size(); ++i)
        QVERIFY2(visible.at(i - 1)->geometry().bottom() < visible.at(i)->geometry().top(),
                 qPrintable(QString::number(i)));
    QVERIFY(lcd.measure()->rect().contains(own.at(2)->geometry()));
    int const measureLeft = lcd.measure()->mapTo(&lcd, QPoint(0, 0)).x();
    for (int i = 0; i < lcd.headerWidgetCount(); ++i) {
        QWidget const* header = lcd.headerWidget(i);
        QVERIFY(header->isVisible() && header->mapTo(&lcd, header->rect().bottomRight()).x() < measureLeft);
        if (i > 0)
            QVERIFY(lcd.headerWidget(i - 1)->geometry().bottom() < header->geometry().top());
    }

    // One call on the measure box lights every reading, also the inserted ones.
    QImage const dimmed = lcd.grab().toImage();
    lcd.measure()->setStateOn(2, true);
    for (ValueWidget* w : readings)
        QVERIFY(w->isStateOn(2) && w->valueWidget()->isStateOn(2));
    QVERIFY(lcd.grab().toImage() != dimmed);
}

QTEST_MAIN(TestStateWidgets)
#include "tst_statewidgets.moc"
