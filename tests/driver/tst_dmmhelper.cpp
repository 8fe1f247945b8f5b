#include "driver/dmmhelper.h"

#include <QTest>

using zelt::measure::QUnitValueBox;
using zelt::measure::QValueBox;

class TestDmmHelper : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void powerModeText_data();
    void powerModeText();
    void vbText();
    void makeUVB();
};

void TestDmmHelper::powerModeText_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<QString>("text");
    auto const row = [](char const* name, char const* mode, char const* text) {
        QTest::newRow(name) << QString(mode) << QString(text);
    };
    row("Normal", "Normal", "Normal");
    row("PARAMaster", "PARAMaster", "Parallel Master");
    row("PARASlave", "PARASlave", "Parallel Slave");
    row("SERMaster", "SERMaster", "Series Master");
    row("SERSlave", "SERSlave", "Series Slave");
    row("EXT_V", "EXT_V", "Ext-V");
    // Only the exact word counts.
    row("lower case", "normal", "");
    row("trailing blank", "SERSlave ", "");
    row("display text is no word", "Ext-V", "");
    row("empty", "", "");
}

void TestDmmHelper::powerModeText()
{
    QFETCH(QString, mode);
    QFETCH(QString, text);
    QCOMPARE(dmmhelper::getPowerModeText(mode), text);
}

void TestDmmHelper::vbText()
{
    QValueBox box;
    QCOMPARE(dmmhelper::VBText(box), QString());
    box.text = QStringLiteral("3.200");
    box.suffix = QStringLiteral("mA");
    QCOMPARE(dmmhelper::VBText(box), QStringLiteral("3.200mA"));
}

void TestDmmHelper::makeUVB()
{
    // The factory is shared: a width left by another caller must not pad the text.
    dmmhelper::vbFactory.setWidth(12);
    QUnitValueBox const box = dmmhelper::makeUVB(QStringLiteral("1.23456 mA"), 0, 4, QStringLiteral("A"));
    QCOMPARE(box.kind, 0);
    QCOMPARE(box.value, 1.23456);
    QCOMPARE(box.raw, 1.23456);
    QCOMPARE(box.text, QStringLiteral("1.2346"));
    QCOMPARE(box.suffix, QStringLiteral("mA"));
    QCOMPARE(box.unit, QStringLiteral("A"));

    QUnitValueBox const bad = dmmhelper::makeUVB(QStringLiteral("abc"), 0, 3, QStringLiteral("V/s"));
    QCOMPARE(bad.kind, 1);
    QVERIFY(qIsNaN(bad.value));
    QCOMPARE(bad.unit, QStringLiteral("V/s"));
}

QTEST_GUILESS_MAIN(TestDmmHelper)
#include "tst_dmmhelper.moc"
