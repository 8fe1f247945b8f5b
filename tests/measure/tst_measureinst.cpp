// The command queue of MeasureInst against a scripted peer on loopback.

#include "tests/common/linepeer.h"

#include "measure/commandbox.h"
#include "measure/io/visa/visaio.h"
#include "measure/measureinst.h"
#include "util/code.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

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
    explicit QueueProbe(QSharedPointer<io::AbstractIO> io)
        : MeasureInst(std::move(io), true)
    {
    }

    QList<QSharedPointer<WordBox>> initCommand() override { return ring; }

    void processWord(QSharedPointer<Word> const& word) override
    {
        char marker;
        auto const depth = reinterpret_cast<quintptr>(&marker);
        lowestStack = qMin(lowestStack, depth);
        highestStack = qMax(highestStack, depth);

        QString const text = textOf(word);
        processed.append(text);
        if (text.startsWith(QLatin1Char('#'))) {
            if (needResponse(word))
                respond();
            return;
        }
        MeasureInst::processWord(word);
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
    QSharedPointer<WordBox> acyclic(QString const& text, int time = 2000)
    {
        return WordBoxFactory::makeAcyclic(makeWord(text, time));
    }

    QList<QSharedPointer<WordBox>> ring;
    QStringList processed;
    QStringList decoded;
    std::function<void(QString const&)> onDecode;
    quintptr lowestStack = ~quintptr(0);
    quintptr highestStack = 0;
};

// The words of `all` that are in `subset`, in the order they ran.
QStringList only(QStringList const& all, QStringList const& subset)
{
    QStringList result;
    for (QString const& w : all)
        if (subset.contains(w))
            result.append(w);
    return result;
}

} // namespace

class TestMeasureInst : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void ringRunsInOrder();
    void oneShotWordsRunBetweenRingEntries();
    void appendedThingsKeepTheirOrder();
    void clearDuringResponseLeavesOnlyWhatIsAppendedNext();
    void strayFramesAreDropped();
    void lateAnswersNeverShiftTheQueue_data();
    void lateAnswersNeverShiftTheQueue();
    void closeForceFromErrorHandlerStops();
    void signWordsLeaveTheStackFlat();
    void answeredWordsLeaveTheStackFlat();
    void intervalSpacesTheWords();
    void emptyArgumentGoesOutBare();
    void closeStopsAndDrains_data();
    void closeStopsAndDrains();
    void refusedConnectionStopsAndCanBeRetried();
    void droppedConnectionStopsAndReopens();
    void unansweredConnectTimesOut();
    void unusableResourceEndsInStoped();
    void openWhileActiveIsRefused();

private:
    QueueProbe* makeProbe(QString const& resource);

    LinePeer* m_peer = nullptr;
    QueueProbe* m_probe = nullptr;
};

void TestMeasureInst::init()
{
    m_peer = new LinePeer(this);
    QVERIFY(m_peer->listen());
    m_probe = makeProbe(m_peer->resource());
}

void TestMeasureInst::cleanup()
{
    delete m_probe;
    m_probe = nullptr;
    delete m_peer;
    m_peer = nullptr;
}

QueueProbe* TestMeasureInst::makeProbe(QString const& resource)
{
    auto io = QSharedPointer<io::visa::VisaIO>::create(resource);
    return new QueueProbe(io);
}

void TestMeasureInst::ringRunsInOrder()
{
    m_probe->ring = {m_probe->cyclic("A?"), m_probe->cyclic("B?"), m_probe->cyclic("C?")};
    QSignalSpy started(m_probe, &MeasureInst::started);
    QVERIFY(m_probe->open());
    QVERIFY(started.wait());
    QVERIFY(m_probe->active());
    QTRY_VERIFY(m_probe->decoded.size() >= 7);
    QCOMPARE(m_probe->processed.mid(0, 7), QStringList({"A?", "B?", "C?", "A?", "B?", "C?", "A?"}));
    QCOMPARE(m_probe->decoded.first(), QStringLiteral("A?|A?=ok"));
    QCOMPARE(m_probe->decoded.at(4), QStringLiteral("B?|B?=ok"));
    // A run without time-outs never resynchronises.
    QVERIFY(!m_peer->lines().contains(QStringLiteral("*IDN?")));
}

void TestMeasureInst::oneShotWordsRunBetweenRingEntries()
{
    QStringList const ring = {"#begin", "A?", "B?", "C?", "#end"};
    for (QString const& w : ring)
        m_probe->ring.append(m_probe->cyclic(w));
    // Appended while B? awaits its answer: they must run as soon as B? is served.
    m_probe->onDecode = [this](QString const& word) {
        if (word == QLatin1String("A?") && !m_probe->processed.contains("X?")) {
            m_probe->AppendCommand(m_probe->makeWord("X?", 2000), true);
            m_probe->AppendCommand(m_probe->makeWord("SET 1", 0), true);
        }
    };
    QVERIFY(m_probe->open());
    QTRY_VERIFY(m_probe->processed.count("#end") >= 2);

    QStringList const& run = m_probe->processed;
    int const x = int(run.indexOf("X?"));
    QVERIFY(x > 0);
    QCOMPARE(run.at(x - 1), QStringLiteral("A?"));
    QCOMPARE(run.at(x + 1), QStringLiteral("SET 1"));
    QCOMPARE(run.at(x + 2), QStringLiteral("B?"));
    // The ring itself kept its order around them, and each ran once.
    QCOMPARE(only(run, ring).mid(0, 10), ring + ring);
    QCOMPARE(run.count("X?"), 1);
    QCOMPARE(run.count("SET 1"), 1);
    QTRY_VERIFY(m_peer->lines().contains("SET 1"));
}

void TestMeasureInst::appendedThingsKeepTheirOrder()
{
    m_probe->ring = {m_probe->cyclic("R1?"), m_probe->cyclic("R2?")};
    QSignalSpy started(m_probe, &MeasureInst::started);
    QVERIFY(m_probe->open());
    QVERIFY(started.wait());

    // A setting, then a query group with its sign words, then a second group and
    // a last single word: all in the order appended, each group unbroken.
    m_probe->AppendCommand(m_probe->makeWord("SET 5", 0), true);
    m_probe->AppendCommand({m_probe->acyclic("#g1 begin"), m_probe->acyclic("G1A?"), m_probe->acyclic("G1B?"),
                            m_probe->acyclic("#g1 end")});
    m_probe->AppendCommand({m_probe->acyclic("G2A?"), m_probe->acyclic("G2B?")});
    m_probe->AppendCommand(m_probe->makeWord("LAST?", 2000), true);

    QStringList const expected = {"SET 5", "#g1 begin", "G1A?", "G1B?", "#g1 end", "G2A?", "G2B?", "LAST?"};
    QTRY_VERIFY(m_probe->processed.contains("LAST?"));
    QTRY_VERIFY(m_probe->processed.count("R1?") >= 3);
    QStringList const& run = m_probe->processed;
    int const first = int(run.indexOf("SET 5"));
    QCOMPARE(run.mid(first, expected.size()), expected);
    QCOMPARE(only(run, expected), expected);
    QCOMPARE(only(m_peer->lines(), expected),
             QStringList({"SET 5", "G1A?", "G1B?", "G2A?", "G2B?", "LAST?"}));
}

void TestMeasureInst::clearDuringResponseLeavesOnlyWhatIsAppendedNext()
{
    m_probe->ring = {m_probe->cyclic("MODE?"), m_probe->cyclic("OLD1?"), m_probe->cyclic("OLD2?")};
    bool switched = false;
    m_probe->onDecode = [&](QString const& word) {
        if (word != QLatin1String("MODE?") || switched)
            return;
        switched = true;
        m_probe->AppendCommand(m_probe->makeWord("LOST?", 2000), true);
        m_probe->clearCommand(true, true);
        m_probe->AppendCommand(
            {m_probe->cyclic("#begin"), m_probe->cyclic("NEW1?"), m_probe->cyclic("NEW2?")});
    };
    QVERIFY(m_probe->open());
    QTRY_VERIFY(m_probe->processed.size() >= 8);

    QCOMPARE(m_probe->processed.mid(0, 8),
             QStringList({"MODE?", "#begin", "NEW1?", "NEW2?", "#begin", "NEW1?", "NEW2?", "#begin"}));
    QVERIFY(!m_peer->lines().contains("OLD1?"));
    QVERIFY(!m_peer->lines().contains("LOST?"));
    QCOMPARE(m_probe->ringSize(), 3);
}

void TestMeasureInst::strayFramesAreDropped()
{
    // Two lines come back for Q?: the second finds no word awaiting it.
    m_peer->setResponder([](QString const& line) -> QString {
        if (line == QLatin1String("Q?"))
            return QStringLiteral("first\nsecond");
        return line + QStringLiteral("=ok");
    });
    m_probe->ring = {m_probe->cyclic("A?"), m_probe->cyclic("Q?")};
    QVERIFY(m_probe->open());
    QTRY_VERIFY(m_probe->decoded.size() >= 20);

    for (QString const& d : std::as_const(m_probe->decoded))
        QVERIFY2(d == "A?|A?=ok" || d == "Q?|first", qPrintable(d));
    QVERIFY(qAbs(m_probe->decoded.count("Q?|first") - m_probe->decoded.count("A?|A?=ok")) <= 1);
}

void TestMeasureInst::lateAnswersNeverShiftTheQueue_data()
{
    // The word time is 300 ms; the second B? is answered this late (-1: never).
    QTest::addColumn<int>("lateMs");
    QTest::addColumn<bool>("barrierSilentOnce");
    QTest::addColumn<int>("errors");
    QTest::newRow("just past its time") << 350 << false << 1;
    QTest::newRow("well past its time") << 480 << false << 1;
    QTest::newRow("past the barrier's time too") << 780 << false << 2;
    QTest::newRow("never") << -1 << false << 1;
    QTest::newRow("never, first barrier unanswered") << -1 << true << 2;
}

void TestMeasureInst::lateAnswersNeverShiftTheQueue()
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
    m_probe->ring = {m_probe->cyclic("A?", 300), m_probe->cyclic("B?", 300), m_probe->cyclic("C?", 300)};
    QSignalSpy errorSpy(m_probe, &MeasureInst::processError);
    QVERIFY(m_probe->open());
    QTRY_VERIFY_WITH_TIMEOUT(m_probe->decoded.size() >= 30, 5000);

    // Every answer that reached the decoder was its own word's.
    for (QString const& d : std::as_const(m_probe->decoded)) {
        QString const word = d.section(QLatin1Char('|'), 0, 0);
        QCOMPARE(d, word + QLatin1Char('|') + word + QStringLiteral("=ok"));
    }
    QCOMPARE(errorSpy.size(), errors);
    QCOMPARE(textOf(errorSpy.first().at(0).value<QSharedPointer<Word>>()), QStringLiteral("B?"));
    // One barrier per error, and none before the fault.
    QStringList const lines = m_peer->lines();
    QCOMPARE(lines.count(QStringLiteral("*IDN?")), errors);
    QCOMPARE(lines.mid(0, 6), QStringList({"A?", "B?", "C?", "A?", "B?", "*IDN?"}));
}

void TestMeasureInst::closeForceFromErrorHandlerStops()
{
    m_peer->setResponder([](QString const&) { return QString(); });
    m_probe->ring = {m_probe->cyclic("SILENT?", 20)};
    int errors = 0;
    connect(m_probe, &MeasureInst::processError, this, [&] {
        if (++errors == 3)
            m_probe->closeForce();
    });
    QSignalSpy stoped(m_probe, &MeasureInst::stoped);
    QVERIFY(m_probe->open());
    QVERIFY(stoped.wait(5000));
    QCOMPARE(errors, 3);
    QVERIFY(!m_probe->active());
    QTest::qWait(100);
    QCOMPARE(errors, 3);
    QCOMPARE(stoped.size(), 1);
}

void TestMeasureInst::signWordsLeaveTheStackFlat()
{
    // Words served inside their own processWord chain one into the next: a
    // recursive hand-over would nest 100 000 frames deep.
    m_probe->ring = {m_probe->cyclic("#one"), m_probe->cyclic("#two")};
    m_probe->AppendCommand(m_probe->makeWord("#setup", 0), false);
    QVERIFY(m_probe->open());
    QTRY_VERIFY_WITH_TIMEOUT(m_probe->processed.size() >= 100000, 60000);
    m_probe->close();
    QVERIFY2(m_probe->highestStack - m_probe->lowestStack < 4096,
             qPrintable(QString::number(m_probe->highestStack - m_probe->lowestStack)));
}

void TestMeasureInst::answeredWordsLeaveTheStackFlat()
{
    m_probe->ring = {m_probe->cyclic("#begin"), m_probe->cyclic("A?"), m_probe->cyclic("SET", 0),
                     m_probe->cyclic("B?")};
    QVERIFY(m_probe->open());
    QTRY_VERIFY_WITH_TIMEOUT(m_probe->decoded.size() >= 2000, 30000);
    QVERIFY2(m_probe->highestStack - m_probe->lowestStack < 4096,
             qPrintable(QString::number(m_probe->highestStack - m_probe->lowestStack)));
}

void TestMeasureInst::intervalSpacesTheWords()
{
    m_probe->setInterval(25);
    m_probe->ring = {m_probe->cyclic("A?")};
    QElapsedTimer clock;
    QSignalSpy started(m_probe, &MeasureInst::started);
    QVERIFY(m_probe->open());
    QVERIFY(started.wait());
    clock.start();
    QTRY_VERIFY(m_probe->decoded.size() >= 6);
    // Five pauses at least between six words.
    QVERIFY2(clock.elapsed() >= 5 * 25, qPrintable(QString::number(clock.elapsed())));
}

void TestMeasureInst::emptyArgumentGoesOutBare()
{
    CommandBox box;
    m_probe->ring = {m_probe->cyclic("A?")};
    QSignalSpy started(m_probe, &MeasureInst::started);
    QVERIFY(m_probe->open());
    QVERIFY(started.wait());
    m_probe->AppendCommand(m_probe->makeWord(box.perfCmd(":SYSTem:REMote").arg(QString()), 0), true);
    m_probe->AppendCommand(m_probe->makeWord(box.perfCmd(":SOURce:VOLTage:LEVel").arg(12.5), 0), true);
    QTRY_VERIFY(m_peer->lines().contains(":SOURce:VOLTage:LEVel 12.5"));
    QVERIFY(m_peer->lines().contains(":SYSTem:REMote"));
    QVERIFY(!m_peer->lines().contains(":SYSTem:REMote "));
}

void TestMeasureInst::closeStopsAndDrains_data()
{
    QTest::addColumn<bool>("drain");
    QTest::newRow("close") << false;
    QTest::newRow("close after the waiting words") << true;
}

void TestMeasureInst::closeStopsAndDrains()
{
    QFETCH(bool, drain);
    m_peer->setResponder([](QString const& line) -> QString {
        return line == QLatin1String("SLOW?") ? QString() : line + QStringLiteral("=ok");
    });
    m_probe->ring = {m_probe->cyclic("SLOW?", 300)};
    QSignalSpy started(m_probe, &MeasureInst::started);
    QSignalSpy stoped(m_probe, &MeasureInst::stoped);
    QVERIFY(m_probe->open());
    QVERIFY(started.wait());
    QTRY_COMPARE(m_peer->lines().size(), 1);
    // SLOW? is in flight; two settings wait behind it.
    m_probe->AppendCommand(m_probe->makeWord("OUT 0", 0), true);
    m_probe->AppendCommand(m_probe->makeWord("LOCAL", 0), true);
    QVERIFY(m_probe->close(drain));
    QCOMPARE(stoped.size(), 0); // never from inside close()
    QVERIFY(stoped.wait(3000));
    QVERIFY(!m_probe->active());
    QTest::qWait(50);
    QCOMPARE(m_peer->lines().contains("OUT 0"), drain);
    QCOMPARE(m_peer->lines().contains("LOCAL"), drain);
    QCOMPARE(m_peer->lines().count("SLOW?"), 1);
    QVERIFY(!m_probe->close(drain));
}

void TestMeasureInst::refusedConnectionStopsAndCanBeRetried()
{
    quint16 const port = m_peer->port();
    m_peer->stopListening();
    m_probe->ring = {m_probe->cyclic("A?")};
    QSignalSpy started(m_probe, &MeasureInst::started);
    QSignalSpy stoped(m_probe, &MeasureInst::stoped);
    QSignalSpy ioErrors(m_probe, &MeasureInst::ioError);
    m_probe->open();
    QVERIFY(stoped.wait(3000));
    QCOMPARE(started.size(), 0);
    QVERIFY(!m_probe->active());
    QCOMPARE(ioErrors.size(), 1);
    QVERIFY(!m_probe->errorString().isEmpty());

    QVERIFY(m_peer->listen(port));
    QVERIFY(m_probe->open());
    QVERIFY(started.wait(3000));
    QTRY_VERIFY(m_probe->decoded.contains("A?|A?=ok"));
}

void TestMeasureInst::droppedConnectionStopsAndReopens()
{
    m_peer->setCloseAfter(5);
    m_probe->ring = {m_probe->cyclic("A?"), m_probe->cyclic("B?")};
    QSignalSpy stoped(m_probe, &MeasureInst::stoped);
    QSignalSpy started(m_probe, &MeasureInst::started);
    QVERIFY(m_probe->open());
    QVERIFY(stoped.wait(3000));
    QVERIFY(!m_probe->active());
    QCOMPARE(m_peer->lines().size(), 5);

    m_peer->setCloseAfter(0);
    m_probe->decoded.clear();
    QVERIFY(m_probe->open());
    QVERIFY(started.wait(3000));
    QTRY_VERIFY(m_probe->decoded.size() >= 4);
    QCOMPARE(m_peer->connections(), 2);
    QCOMPARE(stoped.size(), 1);
}

void TestMeasureInst::unansweredConnectTimesOut()
{
    // A listener whose backlog is full and that accepts nothing: the handshake
    // of the next connection is never answered.
    QTcpServer deaf;
    deaf.setListenBacklogSize(0);
    QVERIFY(deaf.listen(QHostAddress::LocalHost, 0));
    deaf.pauseAccepting();
    QTcpSocket filler;
    filler.connectToHost(QHostAddress::LocalHost, deaf.serverPort());
    QVERIFY(filler.waitForConnected(1000));

    auto io = QSharedPointer<io::visa::VisaIO>::create(
        QStringLiteral("TCPIP0::127.0.0.1::%1::SOCKET").arg(deaf.serverPort()));
    io->setTimeout(150);
    QueueProbe probe(io);
    QSignalSpy stoped(&probe, &MeasureInst::stoped);
    QSignalSpy ioErrors(&probe, &MeasureInst::ioError);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(probe.open());
    QVERIFY(stoped.wait(3000));
    QVERIFY2(clock.elapsed() >= 150, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(ioErrors.size(), 1);
    QVERIFY2(ioErrors.at(0).at(0).toString().contains("150 ms"), qPrintable(ioErrors.at(0).at(0).toString()));
    QVERIFY(!probe.active());
}

void TestMeasureInst::unusableResourceEndsInStoped()
{
    // Each transport's own failures are tried in the transport suite.
    std::unique_ptr<QueueProbe> probe(makeProbe(QStringLiteral("not a resource")));
    QSignalSpy stoped(probe.get(), &MeasureInst::stoped);
    QSignalSpy ioErrors(probe.get(), &MeasureInst::ioError);
    QVERIFY(!probe->open());
    QCOMPARE(stoped.size(), 0);
    QVERIFY(stoped.wait(2000));
    QCOMPARE(ioErrors.size(), 1);
    QVERIFY2(ioErrors.at(0).at(0).toString().contains("Invalid"),
             qPrintable(ioErrors.at(0).at(0).toString()));
    QVERIFY(!probe->active());
}

void TestMeasureInst::openWhileActiveIsRefused()
{
    m_probe->ring = {m_probe->cyclic("A?")};
    QSignalSpy started(m_probe, &MeasureInst::started);
    QVERIFY(m_probe->open());
    QVERIFY(!m_probe->open());
    QVERIFY(started.wait());
    QVERIFY(!m_probe->open());
    QCOMPARE(started.size(), 1);
    QCOMPARE(m_peer->connections(), 1);
}

QTEST_MAIN(TestMeasureInst)
#include "tst_measureinst.moc"
