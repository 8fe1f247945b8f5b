#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"

#include <QLabel>
#include <QTest>

using namespace zelt::widget;
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
};

QTEST_MAIN(TestStateWidgets)
#include "tst_statewidgets.moc"
