#include "widget/measure/powersupplylcd.h"
#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"
#include "widget/statewidgetbox.h"

#include <QLabel>
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
    void currentState_data()
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

    void currentState()
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

    void labelColour()
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

    void valueWidget()
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

    void panel()
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
            lcd.headerWidget(i)->setText(QStringLiteral("OVP"));
        lcd.refreshLayout();
        QList<ValueWidget*> readings;
        for (int i = 0; i < lcd.measureWidgetCount(); ++i)
            readings << lcd.measureWidget(i);
        QCOMPARE(
            readings,
            (QList<ValueWidget*> {group.at(0), own.at(0), group.at(1), own.at(1), group.at(2), own.at(2)}));

        lcd.resize(lcd.sizeHint().expandedTo(QSize(320, 0)));
        lcd.show();
        QVERIFY(QTest::qWaitForWindowExposed(&lcd));
        // Visible readings stack top to bottom in the box's order, right of the annunciators; the
        // hidden one takes no room.
        QList<QWidget*> const visible {group.at(0), own.at(0), own.at(1), group.at(2), own.at(2)};
        for (int i = 1; i < visible.size(); ++i)
            QVERIFY(visible.at(i - 1)->geometry().bottom() < visible.at(i)->geometry().top());
        QVERIFY(lcd.measure()->rect().contains(own.at(2)->geometry()));
        QWidget const* header = lcd.headerWidget(4);
        QVERIFY(header->mapTo(&lcd, header->rect().bottomRight()).x()
                < lcd.measure()->mapTo(&lcd, QPoint()).x());

        // One call on the measure box lights every reading, also the inserted ones.
        lcd.measure()->setStateOn(2, true);
        for (ValueWidget* w : readings)
            QVERIFY(w->isStateOn(2));
    }
};

QTEST_MAIN(TestStateWidgets)
#include "tst_statewidgets.moc"
