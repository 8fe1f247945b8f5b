#include "dmmdata.h"

#include <QTest>

#include <cmath>

class TestDmmData : public QObject
{
    Q_OBJECT
private slots:
    void freshSample();
    void channelIndex_data();
    void channelIndex();
    void activeChannel_data();
    void activeChannel();
};

void TestDmmData::freshSample()
{
    DmmData const data;
    QVERIFY(!data.dateTime().isValid());
    QCOMPARE(data.channels.size(), 1);
    QCOMPARE(data.config().activeChannel, 1);
    QVERIFY(data.config().powerMode.isEmpty());
    Channel const& ch = data.channels.at(0);
    QCOMPARE(ch.index, 0);
    QVERIFY(ch.cvcc.isEmpty());
    QCOMPARE(ch.voltage.measured.kind, 1);
    QVERIFY(std::isnan(ch.seriesPower.value));
    QVERIFY(ch.parallelCurrent.measured.text.isEmpty());
}

void TestDmmData::channelIndex_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("found");
    QTest::newRow("first") << 0 << true;
    QTest::newRow("second") << 1 << false;
    QTest::newRow("negative") << -1 << false;
    QTest::newRow("far") << 100 << false;
}

void TestDmmData::channelIndex()
{
    QFETCH(int, index);
    QFETCH(bool, found);
    DmmData data;
    Channel* channel = data.channel(index);
    QCOMPARE(channel != nullptr, found);
    if (found)
        QCOMPARE(channel, &data.channels[index]);
}

void TestDmmData::activeChannel_data()
{
    QTest::addColumn<int>("active");
    QTest::addColumn<bool>("found");
    QTest::newRow("one-based first") << 1 << true;
    QTest::newRow("zero") << 0 << false;
    QTest::newRow("beyond") << 2 << false;
    QTest::newRow("negative") << -3 << false;
}

void TestDmmData::activeChannel()
{
    QFETCH(int, active);
    QFETCH(bool, found);
    DmmData data;
    data.config().activeChannel = active;
    QCOMPARE(data.activeChannel() != nullptr, found);
    if (found)
        QCOMPARE(data.activeChannel(), data.channel(0));
}

QTEST_GUILESS_MAIN(TestDmmData)
#include "tst_dmmdata.moc"
