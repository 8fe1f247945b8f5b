#include "widget/measure/powersupplylcd.h"
#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"
#include "widget/statewidgetbox.h"

#include <QDir>
#include <QFontMetrics>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace zelt::widget;
using zelt::widget::measure::PowerSupplyLCD;
using zelt::widget::measure::ValueWidget;

namespace {

// Brightest pixel of a grab, by HSV value: the text of a label.
int brightest(QWidget* widget)
{
    QImage const image = widget->grab().toImage();
    int best = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            best = qMax(best, QColor(image.pixel(x, y)).value());
    }
    return best;
}

// The panel as the instrument window builds it: five annunciators, three
// readings, three group readouts inserted at 2, 1, 0, small and large sizes.
struct WindowPanel
{
    WindowPanel()
        : lcd(new PowerSupplyLCD(5, 3, 0, 0, 0, nullptr, {}))
    {
        QFont font = lcd->font();
        font.setWeight(QFont::DemiBold);
        font.setPointSize(9);
        int const width = QFontMetrics(font).horizontalAdvance("AAAAAAAAAA");
        QStringList const texts {"Normal", "VHS", "CV", "OVP", "OCP"};
        for (int i = 0; i < lcd->headerWidgetCount(); ++i) {
            StateLabel* header = lcd->headerWidget(i);
            header->setMargin(2);
            header->label()->setFont(font);
            header->setMinimumWidth(width);
            header->setMaximumWidth(width);
            header->setText(texts.at(i));
        }
        valueVoltage = lcd->measureWidget(0);
        valueCurrent = lcd->measureWidget(1);
        valuePower = lcd->measureWidget(2);
        QStringList const units {"V", "A", "W"};
        for (int i = 0; i < 3; ++i) {
            lcd->measureWidget(i)->setValue("0.000");
            lcd->measureWidget(i)->setUnit(units.at(i));
        }
        groupPower = new ValueWidget(nullptr, {});
        groupCurrent = new ValueWidget(nullptr, {});
        groupVoltage = new ValueWidget(nullptr, {});
        for (auto* group : {groupPower, groupCurrent, groupVoltage}) {
            group->setUnit(QString());
            group->hide();
        }
        lcd->measure()->insert(2, groupPower);
        lcd->measure()->insert(1, groupCurrent);
        lcd->measure()->insert(0, groupVoltage);
        for (int i = 0; i < lcd->measureWidgetCount(); ++i) {
            ValueWidget* w = lcd->measureWidget(i);
            w->setMargin(0);
            w->valueWidget()->setPointSize(i % 2 ? 20 : 12);
            w->unitWidget()->setPointSize(12);
            w->dispatchToWidgets(true);
            w->setEnabledWindowColor(w->color(2, false));
            w->valueWidget()->setEnabledTextColor(QColor(255, 255, 0));
            w->unitWidget()->setEnabledTextColor(QColor(255, 255, 0));
            w->valueWidget()->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
        }
        lcd->refreshLayout();
    }
    ~WindowPanel() { delete lcd; }

    PowerSupplyLCD* lcd;
    ValueWidget* valueVoltage;
    ValueWidget* valueCurrent;
    ValueWidget* valuePower;
    ValueWidget* groupVoltage;
    ValueWidget* groupCurrent;
    ValueWidget* groupPower;
};

} // namespace

class TestStateWidgets : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void currentState_data();
    void currentState();
    void colours();
    void litIsBrighterThanDimmed();
    void dispatch_data();
    void dispatch();
    void insertPositions();
    void valueWidget();
    void panelCounts();
    void panelLayout();
    void panelGrab();
};

void TestStateWidgets::currentState_data()
{
    QTest::addColumn<QList<int>>("on");
    QTest::addColumn<QList<int>>("off");
    QTest::addColumn<int>("current");
    QTest::newRow("nothing on") << QList<int> {} << QList<int> {} << int(AbstractStateWidget::Dimmed);
    QTest::newRow("lit") << QList<int> {2} << QList<int> {} << 2;
    QTest::newRow("lit then dimmed") << QList<int> {2} << QList<int> {2} << 0;
    QTest::newRow("alarm wins over lit") << QList<int> {3, 2} << QList<int> {} << 3;
    QTest::newRow("lit again after alarm") << QList<int> {1, 2, 3} << QList<int> {3} << 2;
    QTest::newRow("standby") << QList<int> {1} << QList<int> {} << 1;
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

void TestStateWidgets::colours()
{
    StateLabel label("CV");
    QColor const lit = label.color(2, true);
    QVERIFY(lit != label.color(0, true)); // dimming shows
    label.setEnabledWindowColor(QColor(1, 2, 3));
    label.setEnabledTextColor(QColor(255, 255, 0));
    QCOMPARE(label.color(2, false), QColor(1, 2, 3));
    QCOMPARE(label.color(2, true), QColor(255, 255, 0));
    QCOMPARE(label.color(42, true), label.color(0, true));

    // The inner label shows the colour of the current state, also when the
    // colour changes while the state is on.
    label.setStateOn(2, true);
    QCOMPARE(label.label()->palette().color(QPalette::WindowText), QColor(255, 255, 0));
    label.setEnabledTextColor(QColor(0, 255, 0));
    QCOMPARE(label.label()->palette().color(QPalette::WindowText), QColor(0, 255, 0));
    label.setStateOn(2, false);
    QCOMPARE(label.label()->palette().color(QPalette::WindowText), label.color(0, true));
}

void TestStateWidgets::litIsBrighterThanDimmed()
{
    ValueWidget value;
    value.setValue("12.345");
    value.setUnit("V");
    value.resize(value.sizeHint());
    int const dim = brightest(&value);
    value.setStateOn(2, true);
    int const lit = brightest(&value);
    QVERIFY2(lit - dim > 100, qPrintable(QString("lit %1, dimmed %2").arg(lit).arg(dim)));
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

void TestStateWidgets::insertPositions()
{
    StateWidgetBox box;
    QList<StateLabel*> labels;
    for (QString t : {"v", "a", "w"}) {
        labels << new StateLabel(t);
        box.append(labels.last());
    }
    auto* p = new StateLabel("P");
    auto* c = new StateLabel("C");
    auto* v = new StateLabel("V");
    box.insert(2, p);
    box.insert(1, c);
    box.insert(0, v);
    QStringList order;
    for (AbstractStateWidget* w : box.widgets())
        order << static_cast<StateLabel*>(w)->text();
    QCOMPARE(order, (QStringList {"V", "v", "C", "a", "P", "w"}));
    QCOMPARE(p->parentWidget(), &box);
    QCOMPARE(box.indexOf(p), 4);

    // Out-of-range positions clamp, and inserting again moves instead of doubling.
    box.insert(100, v);
    QCOMPARE(box.count(), 6);
    QCOMPARE(box.widget(5), v);
    box.insert(-3, v);
    QCOMPARE(box.widget(0), v);
    QVERIFY(box.remove(c));
    QCOMPARE(box.count(), 5);
    QVERIFY(!box.remove(c));
}

void TestStateWidgets::valueWidget()
{
    ValueWidget value(nullptr, {});
    value.setValue("39.998");
    value.setUnit("V");
    QCOMPARE(value.valueWidget()->text(), QString("39.998"));
    QCOMPARE(value.unitWidget()->text(), QString("V"));
    QCOMPARE(value.count(), 2);
    value.setStateOn(2, true);
    QVERIFY(value.valueWidget()->isStateOn(2));
    QVERIFY(value.unitWidget()->isStateOn(2));
    value.show();
    QVERIFY(value.unitWidget()->isVisible());
    value.setUnit(QString());
    QVERIFY(!value.unitWidget()->isVisible());
}

void TestStateWidgets::panelCounts()
{
    WindowPanel panel;
    QCOMPARE(panel.lcd->headerWidgetCount(), 5);
    QCOMPARE(panel.lcd->measureWidgetCount(), 6);
    QCOMPARE(panel.lcd->headerWidget(5), nullptr);
    QList<ValueWidget*> const expected {panel.groupVoltage, panel.valueVoltage, panel.groupCurrent,
                                        panel.valueCurrent, panel.groupPower,   panel.valuePower};
    for (int i = 0; i < expected.size(); ++i)
        QCOMPARE(panel.lcd->measureWidget(i), expected.at(i));
    QCOMPARE(panel.lcd->measureWidget(6), nullptr);

    // One call on the measure box lights every reading, also the inserted ones.
    panel.lcd->measure()->setStateOn(2, true);
    for (ValueWidget* w : expected) {
        QVERIFY(w->isStateOn(2));
        QVERIFY(w->valueWidget()->isStateOn(2));
        QCOMPARE(w->valueWidget()->label()->palette().color(QPalette::WindowText), QColor(255, 255, 0));
    }
    QVERIFY(!panel.lcd->headerWidget(0)->isStateOn(2));
}

void TestStateWidgets::panelLayout()
{
    WindowPanel panel;
    panel.groupVoltage->show();
    panel.groupPower->show();
    panel.lcd->refreshLayout();
    panel.lcd->show();
    QVERIFY(QTest::qWaitForWindowExposed(panel.lcd));

    // Visible readings stack top to bottom in the box's order; hidden ones take no room.
    QList<ValueWidget*> const visible {panel.groupVoltage, panel.valueVoltage, panel.valueCurrent,
                                       panel.groupPower, panel.valuePower};
    for (int i = 1; i < visible.size(); ++i) {
        QRect const above = visible.at(i - 1)->geometry();
        QRect const below = visible.at(i)->geometry();
        QVERIFY2(above.bottom() < below.top(), qPrintable(QString("reading %1").arg(i)));
        QVERIFY(below.height() > 0);
    }
    QVERIFY(!panel.groupCurrent->isVisible());
    // The unit's own readings are larger than the group's.
    QVERIFY(panel.valueVoltage->height() > panel.groupVoltage->height());
    QVERIFY(panel.lcd->measure()->rect().contains(panel.valuePower->geometry()));

    // Annunciators: a column of equal widths, left of the readings, none overlapping.
    QPoint const measureOrigin = panel.lcd->measure()->mapTo(panel.lcd, QPoint(0, 0));
    for (int i = 0; i < panel.lcd->headerWidgetCount(); ++i) {
        StateLabel* header = panel.lcd->headerWidget(i);
        QVERIFY(header->isVisible());
        QCOMPARE(header->width(), panel.lcd->headerWidget(0)->width());
        QRect const r(header->mapTo(panel.lcd, QPoint(0, 0)), header->size());
        QVERIFY(r.right() < measureOrigin.x());
        if (i > 0) {
            StateLabel* prev = panel.lcd->headerWidget(i - 1);
            QVERIFY(prev->mapTo(panel.lcd, QPoint(0, prev->height())).y() <= r.top());
        }
    }
    // Everything fits inside the panel.
    QVERIFY(panel.lcd->rect().contains(QRect(measureOrigin, panel.lcd->measure()->size())));
}

void TestStateWidgets::panelGrab()
{
    // Pictures of the panel, dimmed and lit, to look at.
    WindowPanel panel;
    panel.valueVoltage->setValue("24.000");
    panel.valueCurrent->setValue("5.125");
    panel.valuePower->setValue("123.00");
    panel.groupVoltage->setValue("48.000");
    panel.groupPower->setValue("246.00");
    panel.groupVoltage->show();
    panel.groupPower->show();
    panel.lcd->refreshLayout();
    panel.lcd->resize(panel.lcd->sizeHint().expandedTo(QSize(320, 0)));
    QDir const out(QStringLiteral(ZELT_TEST_OUTPUT_DIR));
    QImage const dimmed = panel.lcd->grab().toImage();
    QVERIFY(dimmed.save(out.filePath("lcd-dimmed.png")));

    panel.lcd->headerWidget(0)->setStateOn(2, true);
    panel.lcd->headerWidget(1)->setStateOn(2, true);
    panel.lcd->headerWidget(2)->setStateOn(2, true);
    panel.lcd->headerWidget(3)->setStateOn(2, true);
    panel.lcd->headerWidget(4)->setStateOn(3, true);
    panel.lcd->measure()->setStateOn(2, true);
    QImage const lit = panel.lcd->grab().toImage();
    QVERIFY(lit.save(out.filePath("lcd-lit.png")));
    QCOMPARE(lit.size(), dimmed.size());
    QVERIFY(lit != dimmed);
    qInfo("panel pictures in %s", qPrintable(out.absolutePath()));
}

QTEST_MAIN(TestStateWidgets)
#include "tst_statewidgets.moc"
