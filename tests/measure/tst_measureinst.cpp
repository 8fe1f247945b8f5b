// The command queue of MeasureInst against a scripted peer on loopback.

#include "tests/common/linepeer.h"

#include "measure/io/visa/visaio.h"
#include "measure/measureinst.h"
#include "measure/queryclient.h"
#include "util/code.h"

#include <QtTest>

using namespace zelt::measure;
using zelt::util::StringCode;
using zelt::util::Word;

namespace {

QString textOf(QSharedPointer<Word> const& word)
{
    return static_cast<StringCode const*>(word->code().data())->data();
}

// Records what the queue runs. Words whose text begins with '#' are sign words:
// consumed without being sent, as a driver marks the begin and end of a pass.
class QueueProbe : public MeasureInst
{
public:
    explicit QueueProbe(QString const& resource)
        : MeasureInst(QSharedPointer<io::visa::VisaIO>::create(resource), true)
    {
    }

    QList<QSharedPointer<WordBox>> initCommand() override { return ring; }

    void processWord(QSharedPointer<Word> const& word) override
    {
        QString const text = textOf(word);
        processed.append(text);
        if (!text.startsWith(QLatin1Char('#')))
            MeasureInst::processWord(word);
        else if (needResponse(word))
            respond();
    }

    void decodeFrame(QByteArray const& frame) override
    {
        QString const word = textOf(currentWord());
        decoded.append(word + QLatin1Char('|') + QString::fromUtf8(frame));
        if (onDecode)
            onDecode(word);
        if (needResponse())
            respond();
    }

    QSharedPointer<WordBox> cyclic(QString const& text, int time = 2000)
    {
        return WordBoxFactory::makeCyclic(makeWord(text, time));
    }
    QSharedPointer<WordBox> acyclic(QString const& text)
    {
        return WordBoxFactory::makeAcyclic(makeWord(text, 2000));
    }
    void setRing(QStringList const& words, int time = 2000)
    {
        for (QString const& w : words)
            ring.append(cyclic(w, time));
    }

    QList<QSharedPointer<WordBox>> ring;
    QStringList processed;
    QStringList decoded;
    std::function<void(QString const&)> onDecode;
};

// The words of `all` that are in `subset`, in the order they ran.
QStringList only(QStringList all, QStringList const& subset)
{
    all.removeIf([&](QString const& w) { return !subset.contains(w); });
    return all;
}

} // namespace

class TestMeasureInst : public QObject
{
    Q_OBJECT

    LinePeer* m_peer = nullptr;
    QueueProbe* m_probe = nullptr;

    bool openAndWaitStarted()
    {
        QSignalSpy started(m_probe, &MeasureInst::started);
        return m_probe->open() && started.wait();
    }

private Q_SLOTS:
    void init()
    {
        m_peer = new LinePeer(this);
        QVERIFY(m_peer->listen());
        m_probe = new QueueProbe(m_peer->resource());
    }

    void cleanup()
    {
        delete m_probe;
        delete m_peer;
    }

    void appendedWordsRunInOrderBetweenRingEntries()
    {
        QStringList const ring = {"#begin", "A?", "B?", "C?", "#end"};
        m_probe->setRing(ring);
        // Appended while A? is being answered, in both forms: each runs once, in the order appended,
        // a group unbroken, all before B?.
        m_probe->onDecode = [this](QString const& word) {
            if (word != QLatin1String("A?") || m_probe->processed.contains("SET 1"))
                return;
            m_probe->AppendCommand(m_probe->makeWord("SET 1", 0), true);
            m_probe->AppendCommand({m_probe->acyclic("#g begin"), m_probe->acyclic("G1?"),
                                    m_probe->acyclic("G2?"), m_probe->acyclic("#g end")});
            m_probe->AppendCommand({m_probe->acyclic("H1?"), m_probe->acyclic("H2?")});
            m_probe->AppendCommand(m_probe->makeWord("LAST?", 2000), true);
        };
        QVERIFY(m_probe->open());
        QTRY_VERIFY(m_probe->processed.count("#end") >= 2);

        QStringList const appended = {"SET 1", "#g begin", "G1?", "G2?", "#g end", "H1?", "H2?", "LAST?"};
        QStringList const& run = m_probe->processed;
        qsizetype const at = run.indexOf("SET 1");
        QCOMPARE(run.mid(at - 1, appended.size() + 2), QStringList {"A?"} + appended + QStringList {"B?"});
        QCOMPARE(only(run, appended), appended);
        QCOMPARE(only(run, ring).mid(0, 10), ring + ring);
        QCOMPARE(m_probe->decoded.first(), QStringLiteral("A?|A?=ok"));
        QTRY_COMPARE(only(m_peer->lines(), appended),
                     (QStringList {"SET 1", "G1?", "G2?", "H1?", "H2?", "LAST?"}));
        // A run without time-outs never resynchronises.
        QVERIFY(!m_peer->lines().contains(QStringLiteral("*IDN?")));
    }

    void strayFramesAreDropped()
    {
        // Two lines come back for Q?: the second finds no word awaiting it.
        m_peer->setResponder([](QString const& line) -> QString {
            return line == QLatin1String("Q?") ? QStringLiteral("first\nsecond")
                                               : line + QStringLiteral("=ok");
        });
        m_probe->setRing({"A?", "Q?"});
        QVERIFY(m_probe->open());
        QTRY_VERIFY(m_probe->decoded.size() >= 20);
        for (QString const& d : std::as_const(m_probe->decoded))
            QVERIFY2(d == "A?|A?=ok" || d == "Q?|first", qPrintable(d));
    }

    void lateAnswersNeverShiftTheQueue_data()
    {
        // The word time is 300 ms; the second B? is answered this late (-1: never).
        QTest::addColumn<int>("lateMs");
        QTest::addColumn<bool>("barrierSilentOnce");
        QTest::addColumn<int>("errors");
        QTest::newRow("well past its time") << 480 << false << 1;
        QTest::newRow("past the barrier's time too") << 780 << false << 2;
        QTest::newRow("never") << -1 << false << 1;
        QTest::newRow("never, first barrier unanswered") << -1 << true << 2;
    }

    void lateAnswersNeverShiftTheQueue()
    {
        QFETCH(int, lateMs);
        QFETCH(bool, barrierSilentOnce);
        QFETCH(int, errors);
        int bQueries = 0;
        int barriers = 0;
        m_peer->setResponder([&](QString const& line) -> QString {
            if (line == QLatin1String("*IDN?"))
                return barrierSilentOnce && barriers++ == 0 ? QString() : LinePeer::identity();
            if (line == QLatin1String("B?") && ++bQueries == 2 && lateMs < 0)
                return QString();
            return line + QStringLiteral("=ok");
        });
        m_peer->setDelay(
            [&](QString const& line) { return line == QLatin1String("B?") && bQueries == 2 ? lateMs : 0; });
        m_probe->setRing({"A?", "B?", "C?"}, 300);
        QSignalSpy errorSpy(m_probe, &MeasureInst::processError);
        QVERIFY(m_probe->open());
        QTRY_VERIFY_WITH_TIMEOUT(m_probe->decoded.size() >= 30, 15000);

        // Every answer that reached the decoder was its own word's.
        for (QString const& d : std::as_const(m_probe->decoded)) {
            QString const word = d.section(QLatin1Char('|'), 0, 0);
            QCOMPARE(d, word + QLatin1Char('|') + word + QStringLiteral("=ok"));
        }
        QCOMPARE(errorSpy.size(), errors);
        QCOMPARE(textOf(errorSpy.first().at(0).value<QSharedPointer<Word>>()), QStringLiteral("B?"));
        // One barrier per error, and none before the fault.
        QCOMPARE(m_peer->lines().count(QStringLiteral("*IDN?")), errors);
        QCOMPARE(m_peer->lines().mid(0, 6), QStringList({"A?", "B?", "C?", "A?", "B?", "*IDN?"}));
    }

    void closeStopsAndDropsWaitingWords()
    {
        m_peer->setResponder([](QString const&) { return QString(); });
        m_probe->setRing({"SLOW?"}, 300);
        QSignalSpy stoped(m_probe, &MeasureInst::stoped);
        QVERIFY(openAndWaitStarted());
        QTRY_COMPARE(m_peer->lines().size(), 1);
        // SLOW? is in flight; a setting waits behind it.
        m_probe->AppendCommand(m_probe->makeWord("OUT 0", 0), true);
        QVERIFY(m_probe->close());
        QCOMPARE(stoped.size(), 0); // never from inside close()
        QVERIFY(stoped.wait(3000));
        QVERIFY(!m_probe->active());
        QTest::qWait(50);
        QCOMPARE(m_peer->lines(), QStringList {"SLOW?"});
        QVERIFY(!m_probe->close());
    }

    void droppedConnectionStopsAndReopens()
    {
        m_peer->setCloseAfter(5);
        m_probe->setRing({"A?", "B?"});
        QSignalSpy stoped(m_probe, &MeasureInst::stoped);
        QVERIFY(m_probe->open());
        QVERIFY(stoped.wait(3000));
        QVERIFY(!m_probe->active());
        QCOMPARE(m_peer->lines().size(), 5);

        m_peer->setCloseAfter(0);
        m_probe->decoded.clear();
        QVERIFY(openAndWaitStarted());
        QTRY_VERIFY(m_probe->decoded.size() >= 4);
        QCOMPARE(m_peer->connections(), 2);
        QCOMPARE(stoped.size(), 1);
    }

    // A line of another asker ends in exactly one outcome, and neither it nor its answer ever
    // reaches the driver, whose ring goes on answered in step.
    void clientWordsReachOnlyTheirAsker_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("peer"); // 0 answers, 1 stays silent, 2 drops the connection, 3 answers late
        QTest::addColumn<bool>("running");
        QTest::addColumn<bool>("stop"); // the run is stopped while the word waits
        QTest::addColumn<QString>("outcome");
        QTest::newRow("query answered") << "Q?" << 0 << true << false << "answered Q?=ok";
        QTest::newRow("? in quotes is a setting") << "S \"a?\"" << 0 << true << false << "written";
        QTest::newRow("query answered late") << "Q?" << 3 << true << false << "failed TimedOut";
        QTest::newRow("link lost") << "Q?" << 2 << true << false << "failed LinkLost";
        QTest::newRow("run stopped") << "Q?" << 1 << true << true << "failed Stopped";
        QTest::newRow("not running") << "Q?" << 0 << false << false << "failed NotRunning";
    }

    void clientWordsReachOnlyTheirAsker()
    {
        QFETCH(QString, line);
        QFETCH(int, peer);
        QFETCH(bool, running);
        QFETCH(bool, stop);
        QFETCH(QString, outcome);
        m_peer->setResponder([this, peer](QString const& received) -> QString {
            if (received == QLatin1String("*IDN?"))
                return LinePeer::identity();
            if (received.startsWith(QLatin1Char('Q')) && peer == 2)
                QTimer::singleShot(0, this, [this] { delete std::exchange(m_peer, nullptr); });
            if (received.startsWith(QLatin1Char('Q')) && peer != 0 && peer != 3)
                return QString();
            return received.endsWith(QLatin1Char('?')) ? received + QStringLiteral("=ok") : QString();
        });
        m_peer->setDelay([peer](QString const& received) { return peer == 3 && received == "Q?" ? 600 : 0; });
        m_probe->setRing({"A?", "B?"});
        m_probe->setWordTimeLimit(300);
        if (running)
            QVERIFY(openAndWaitStarted());
        QueryClient client(m_probe);
        QStringList outcomes;
        connect(&client, &QueryClient::answered, this, [&](quint64, QByteArray const& answer) {
            outcomes << "answered " + QString::fromUtf8(answer);
        });
        connect(&client, &QueryClient::written, this, [&] { outcomes << QStringLiteral("written"); });
        connect(&client, &QueryClient::failed, this, [&](quint64, QueryClient::Failure failure) {
            outcomes << QStringLiteral("failed %1")
                            .arg(QMetaEnum::fromType<QueryClient::Failure>().valueToKey(int(failure)));
        });
        client.send(line.toUtf8());
        if (stop)
            QTRY_VERIFY(m_peer->lines().contains(line) && m_probe->close());
        QTRY_COMPARE(outcomes, QStringList {outcome});
        QCOMPARE(client.pending(), 0);
        if (running && !stop && peer != 2) {
            int const decoded = int(m_probe->decoded.size());
            QTRY_VERIFY(m_probe->decoded.size() >= decoded + 4);
        }
        QVERIFY(!m_probe->processed.contains(line));
        for (QString const& decoded : std::as_const(m_probe->decoded)) {
            QString const word = decoded.section(QLatin1Char('|'), 0, 0);
            QCOMPARE(decoded, word + QLatin1Char('|') + word + QStringLiteral("=ok"));
        }
        QCOMPARE(outcomes.size(), 1);
    }
};

QTEST_MAIN(TestMeasureInst)
#include "tst_measureinst.moc"
