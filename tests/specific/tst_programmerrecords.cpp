#include "specific/metatypes.h"
#include "specific/programmerdata.h"
#include "specific/templateparams.h"

#include <QTest>
#include <QtEndian>

#include <cstring>

using namespace zelt::specific::pxn3000s::programmer;

namespace {

QByteArray be32(qint32 v)
{
    QByteArray b(4, '\0');
    qToBigEndian(v, b.data());
    return b;
}

QByteArray beDouble(double v)
{
    quint64 bits;
    std::memcpy(&bits, &v, sizeof bits);
    QByteArray b(8, '\0');
    qToBigEndian(bits, b.data());
    return b;
}

template<typename T> QByteArray streamed(T const& value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value;
    return bytes;
}

// Every field distinct, so that a field written in another's place shows.
ListTemplateParam const kList {3,     1,   12.5, 1.25, 0.5, 40.25, 0.125, 2.75, 3600,
                               0.001, 512, true, 0.3,  256, 75,    17,    9,    321};
DelayerTemplateParam const kDelayer {2, kPattern10, 7, 1.5, 2.5, 3.25, 0.75, 10.0, 0.5};

} // namespace

class TestProgrammerRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // No registerMetaTypes() here: the library registers its types as it loads, so that
    // stored settings can be read before any programmer opens.

    // Field after field, big-endian, with the bool in one byte at offset 76 and
    // the width behind it at the odd offset 77.
    void recordBytes_data()
    {
        QTest::addColumn<QByteArray>("record");
        QTest::addColumn<QByteArray>("expected");
        ListTemplateParam const& l = kList;
        QTest::newRow("list") << streamed(l)
                              << be32(l.type) + be32(l.object) + beDouble(l.constVoltage)
                + beDouble(l.constCurrent) + beDouble(l.voltageMin) + beDouble(l.voltageMax)
                + beDouble(l.currentMin) + beDouble(l.currentMax) + beDouble(l.period) + beDouble(l.interval)
                + be32(l.cycles) + QByteArray(1, '\1') + beDouble(l.width) + be32(l.pulseCount)
                + be32(l.symmetry) + be32(l.steps) + be32(l.expRate) + be32(l.expGroups);
        DelayerTemplateParam const& d = kDelayer;
        QTest::newRow("delayer") << streamed(d)
                                 << be32(d.type) + be32(d.pattern) + be32(d.groups) + beDouble(d.onTime)
                + beDouble(d.offTime) + beDouble(d.incBase) + beDouble(d.incStep) + beDouble(d.decBase)
                + beDouble(d.decStep);
    }

    void recordBytes()
    {
        QFETCH(QByteArray, record);
        QFETCH(QByteArray, expected);
        QCOMPARE(record.toHex(' '), expected.toHex(' '));
    }

    // Full lists through a QVariant, as the settings keep them: a count, then the records.
    void roundTrip()
    {
        QList<ListTemplateParam> lists;
        resetListTemplateParams(lists);
        lists[5] = kList;
        QList<DelayerTemplateParam> delayers;
        resetDelayerTemplateParams(delayers);
        delayers[2] = kDelayer;
        QCOMPARE(streamed(lists).left(4), be32(8));

        QByteArray bytes;
        {
            QDataStream out(&bytes, QIODevice::WriteOnly);
            out << QVariant::fromValue(lists) << QVariant::fromValue(delayers);
        }
        QDataStream in(bytes);
        QVariant v1, v2;
        in >> v1 >> v2;
        QCOMPARE(in.status(), QDataStream::Ok);
        QCOMPARE(v1.value<QList<ListTemplateParam>>(), lists);
        QCOMPARE(v2.value<QList<DelayerTemplateParam>>(), delayers);
    }

    // A stored list that lies about its count reads nothing, and nothing past what it holds.
    void hostileStream_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("ok");
        QTest::newRow("huge count, 20 bytes") << be32(0x7fffffff) + QByteArray(20, '\x5a') << 0 << false;
        QTest::newRow("count 0xffffffff, one record") << be32(-1) + streamed(kList) << 0 << false;
        QTest::newRow("one record, bytes to spare") << be32(1) + streamed(kList) + "xyz" << 1 << true;
    }

    void hostileStream()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, count);
        QFETCH(bool, ok);
        QDataStream in(bytes);
        QList<ListTemplateParam> read(3);
        in >> read;
        QCOMPARE(read.size(), qsizetype(count));
        if (count)
            QCOMPARE(read.first(), kList);
        QCOMPARE(in.status() == QDataStream::Ok, ok);
    }

    // The names by which stored settings and signal signatures know the types.
    void metaTypeNames()
    {
        QList<QPair<QByteArray, QMetaType>> const names {
            {"QVector<programmer::ListTemplateParam>", QMetaType::fromType<QList<ListTemplateParam>>()},
            {"QVector<programmer::DelayerTemplateParam>", QMetaType::fromType<QList<DelayerTemplateParam>>()},
            {"programmer::ProgrammerData", QMetaType::fromType<ProgrammerData>()},
            {"QList<programmer::ListData>&", QMetaType::fromType<QList<ListData>>()},
            {"QList<programmer::DelayerData>&", QMetaType::fromType<QList<DelayerData>>()},
        };
        for (auto const& [name, type] : names)
            QVERIFY2(QMetaType::fromName(name) == type, name.constData());
    }
};

QTEST_GUILESS_MAIN(TestProgrammerRecords)
#include "tst_programmerrecords.moc"
