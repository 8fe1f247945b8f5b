// The window's polling ring alone (against an instrument answering in 2 ms, or --latency-us N), and beside a
// script that asks through the shared SCPI port as fast as it can: ring words per second in both, the
// script's queries per second, the ring's share of the link (fair turns give it half) and the script's round
// trip in ring words.

#include "measure/io/visa/visaio.h"
#include "measure/measureinst.h"
#include "share/scpishareserver.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <cstdio>

using namespace zelt::measure;

namespace {

constexpr int kPhaseMs = 3000;

// An instrument that answers every query after latencyUs, on its own thread.
class Peer : public QObject
{
public:
    explicit Peer(int latencyUs)
        : m_latencyUs(latencyUs)
    {
    }
    bool listen()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = m_server.nextPendingConnection()) {
                s->setParent(this);
                s->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                connect(s, &QTcpSocket::readyRead, s, [s, latency = m_latencyUs] {
                    while (s->canReadLine()) {
                        if (!s->readLine().contains('?'))
                            continue;
                        if (latency > 0)
                            QThread::usleep(latency);
                        s->write("12.000\n");
                    }
                });
            }
        });
        return m_server.listen(QHostAddress::LocalHost, 0);
    }
    quint16 port() const { return m_server.serverPort(); }

private:
    int m_latencyUs;
    QTcpServer m_server {this};
};

// The polling ring: 26 queries, as a power supply's pass has.
class Ring : public MeasureInst
{
public:
    explicit Ring(QString const& resource)
        : MeasureInst(QSharedPointer<io::visa::VisaIO>::create(resource), true)
    {
    }
    QList<QSharedPointer<WordBox>> initCommand() override
    {
        QList<QSharedPointer<WordBox>> ring;
        for (int i = 0; i < 26; ++i)
            ring.append(
                WordBoxFactory::makeCyclic(makeWord(QStringLiteral(":SOURce:PARameter%1?").arg(i), 2000)));
        return ring;
    }
    void decodeFrame(QByteArray const&) override
    {
        ++words;
        respond();
    }
    qint64 words = 0;
};

// A script on a thread of its own: one query out, and the next as soon as its answer is in.
class Script : public QObject
{
public:
    void start(quint16 port)
    {
        m_socket = new QTcpSocket(this);
        m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(m_socket, &QTcpSocket::connected, this, &Script::ask);
        connect(m_socket, &QTcpSocket::readyRead, this, [this] {
            while (m_socket->canReadLine()) {
                m_socket->readLine();
                roundTripNs += m_sent.nsecsElapsed();
                ++answers;
                ask();
            }
        });
        m_socket->connectToHost(QHostAddress::LocalHost, port);
    }
    void stop() { m_socket->abort(); }
    std::atomic<qint64> answers {0};
    std::atomic<qint64> roundTripNs {0};

private:
    void ask()
    {
        m_sent.start();
        m_socket->write("*IDN?\n");
    }
    QTcpSocket* m_socket = nullptr;
    QElapsedTimer m_sent;
};

void runFor(int ms)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    // A LAN unit's pace by default, as the host's simulated instrument answers.
    int latencyUs = 2000;
    if (argc == 3 && qstrcmp(argv[1], "--latency-us") == 0)
        latencyUs = QByteArray(argv[2]).toInt();
    std::printf("instrument latency: %d us\n", latencyUs);
    QThread peerThread;
    auto* peer = new Peer(latencyUs);
    if (!peer->listen())
        return 1;
    peer->moveToThread(&peerThread);
    peerThread.start();

    Ring ring(QStringLiteral("TCPIP0::127.0.0.1::%1::SOCKET").arg(peer->port()));
    bool started = false;
    QObject::connect(&ring, &MeasureInst::started, [&started] { started = true; });
    ring.open();
    QElapsedTimer wait;
    wait.start();
    while (!started && wait.elapsed() < 3000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    if (!started)
        return 1;
    runFor(300);

    QElapsedTimer clock;
    qint64 from = ring.words;
    clock.start();
    runFor(kPhaseMs);
    double const alone = double(ring.words - from) * 1000.0 / double(clock.elapsed());
    std::printf("ring alone: %.0f words/s\n", alone);

    zelt::share::ScpiShareServer share(&ring);
    if (!share.listen(0, false))
        return 1;
    QThread scriptThread;
    auto* script = new Script;
    script->moveToThread(&scriptThread);
    scriptThread.start();
    QMetaObject::invokeMethod(script, [script, port = share.port()] { script->start(port); });
    runFor(300);

    from = ring.words;
    qint64 const answersFrom = script->answers;
    qint64 const rttFrom = script->roundTripNs;
    clock.restart();
    runFor(kPhaseMs);
    double const seconds = double(clock.elapsed()) / 1000.0;
    double const shared = double(ring.words - from) / seconds;
    qint64 const answers = script->answers - answersFrom;
    double const queries = double(answers) / seconds;
    double const rttMs = answers > 0 ? double(script->roundTripNs - rttFrom) / double(answers) / 1e6 : 0.0;
    double const share_ = shared / (shared + queries);
    std::printf("ring beside the script: %.0f words/s; script: %.0f queries/s, round trip %.3f ms "
                "(%.2f ring words)\n",
                shared, queries, rttMs, rttMs * alone / 1000.0);

    QMetaObject::invokeMethod(
        script, [script] { script->stop(); }, Qt::BlockingQueuedConnection);
    scriptThread.quit();
    scriptThread.wait();
    delete script;
    ring.closeForce();
    QMetaObject::invokeMethod(
        peer, [peer] { delete peer; }, Qt::BlockingQueuedConnection);
    peerThread.quit();
    peerThread.wait();
    std::printf("ring_alone_words_per_s=%.0f ring_shared_words_per_s=%.0f script_queries_per_s=%.0f "
                "ring_share=%.2f\n",
                alone, shared, queries, share_);
    return 0;
}
