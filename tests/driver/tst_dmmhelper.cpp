// The driver's small helpers and the channel lookup of a sample.

#include "driver/dmmdata.h"
#include "driver/dmmhelper.h"

#include <QTest>

using zelt::measure::QUnitValueBox;

class TestDmmHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void powerModeText_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("text");
        auto const row = [](char const* mode, char const* text) {
            QTest::newRow(mode) << QString(mode) << QString(text);
        };
        row("Normal", "Normal");
        row("PARAMaster", "Parallel Master");
        row("PARASlave", "Parallel Slave");
        row("SERMaster", "Series Master");
        row("SERSlave", "Series Slave");
        row("EXT_V", "Ext-V");
        // Only the exact word counts.
        row("normal", "");
        row("SERSlave ", "");
        row("Ext-V", "");
    }

    void powerModeText()
    {
        QFETCH(QString, mode);
        QFETCH(QString, text);
        QCOMPARE(dmmhelper::getPowerModeText(mode), text);
    }

    void makeUVB()
    {
        // The factory is shared: a width left by another caller must not pad the text.
        dmmhelper::vbFactory.setWidth(12);
        QUnitValueBox const box = dmmhelper::makeUVB(QStringLiteral("1.23456 mA"), 0, 4, QStringLiteral("A"));
        QCOMPARE(box.kind, 0);
        QCOMPARE(box.value, 1.23456);
        QCOMPARE(box.raw, 1.23456);
        QCOMPARE(dmmhelper::VBText(box) + box.unit, QStringLiteral("1.2346mAA"));

        QUnitValueBox const bad = dmmhelper::makeUVB(QStringLiteral("abc"), 0, 3, QStringLiteral("V/s"));
        QCOMPARE(bad.kind, 1);
        QVERIFY(qIsNaN(bad.value));
        QCOMPARE(bad.unit, QStringLiteral("V/s"));
    }

    void channelLookup()
    {
        // A sample has one channel; activeChannel counts from one, channel() from zero.
        DmmData data;
        DmmData const& constData = data;
        QCOMPARE(data.activeChannel(), &data.channels[0]);
        QCOMPARE(constData.channel(0), &data.channels[0]);
        for (int index : {1, -1}) {
            QCOMPARE(data.channel(index), nullptr);
            QCOMPARE(constData.channel(index), nullptr);
            data.config().activeChannel = index + 1;
            QCOMPARE(data.activeChannel(), nullptr);
            QCOMPARE(constData.activeChannel(), nullptr);
        }
    }
};

QTEST_GUILESS_MAIN(TestDmmHelper)
#include "tst_dmmhelper.moc"
