#include "driver/dmmdata.h"

#include <QTest>

class TestDmmData : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void channelLookup_data();
    void channelLookup();
};

void TestDmmData::channelLookup_data()
{
    QTest::addColumn<int>("index"); // zero-based; activeChannel counts from one
    QTest::addColumn<bool>("found");
    QTest::newRow("first") << 0 << true;
    QTest::newRow("second") << 1 << false;
    QTest::newRow("negative") << -1 << false;
}

void TestDmmData::channelLookup()
{
    QFETCH(int, index);
    QFETCH(bool, found);
    DmmData data;
    DmmData const& constData = data;
    // A sample has one channel, and it is the active one.
    QCOMPARE(data.channels.size(), 1);
    QCOMPARE(data.activeChannel(), &data.channels[0]);

    QCOMPARE(data.channel(index), found ? &data.channels[0] : nullptr);
    QCOMPARE(constData.channel(index), data.channel(index));
    data.config().activeChannel = index + 1;
    QCOMPARE(data.activeChannel(), data.channel(index));
    QCOMPARE(constData.activeChannel(), data.channel(index));
}

QTEST_GUILESS_MAIN(TestDmmData)
#include "tst_dmmdata.moc"
