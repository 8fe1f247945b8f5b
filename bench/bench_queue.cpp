// Words per second through the command queue against a trivial answering peer
// on loopback, next to a bare QTcpSocket ping-pong of the same lines.

#include "measure/io/visa/visaio.h"
#include "measure/measureinst.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <algorithm>
#include <cstdio>

using namespace zelt::measure;

namespace {

constexpr int kWordsPerRun = 20000;
constexpr int kRounds = 5;

// As many query lines as one polling pass of a power supply sends, of similar length.
QList<QByteArray> const& queryLines()
{
    static QList<QByteArray> const lines = [] {
        QList<QByteArray> result;
        for (int i = 0; i < 26; ++i)
            result.append(":SOURce:CHANnel:PARameter" + QByteArray::number(i) + '?');
        return result;
    }();
    return lines;
}

// Answers every line at once with a fixed number, on its own thread.
class EchoPeer : public QObject
{
public:
    bool listen()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = m_server.nextPendingConnection()) {
                s->setParent(this);
                s->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                connect(s, &QTcpSocket::readyRead, s, [s] {
                    while (s->canReadLine()) {
                        s->readLine();
                        s->write("12.000\n");
                    }
                });
                connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
            }
        });
        return m_server.listen(QHostAddress::LocalHost, 0);
    }
    quint16 port() const { return m_server.serverPort(); }

private:
    QTcpServer m_server {this}; // a child, so that it moves to the peer's thread
};

double pingPong(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected(2000))
        return 0;
    socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    QList<QByteArray> lines;
    for (QByteArray const& q : queryLines())
        lines.append(q + '\n');

    int sent = 0;
    int answered = 0;
    QEventLoop loop;
    QElapsedTimer clock;
    QObject::connect(&socket, &QTcpSocket::readyRead, &loop, [&] {
        while (socket.canReadLine()) {
            socket.readLine();
            if (++answered == kWordsPerRun) {
                loop.quit();
                return;
            }
            socket.write(lines.at(sent++ % lines.size()));
        }
    });
    clock.start();
    socket.write(lines.at(sent++ % lines.size()));
    loop.exec();
    return answered * 1000.0 / qMax<qint64>(1, clock.elapsed());
}

class CountingInst : public MeasureInst
{
public:
    using MeasureInst::MeasureInst;

    QList<QSharedPointer<WordBox>> initCommand() override
    {
        QList<QSharedPointer<WordBox>> ring;
        for (QByteArray const& q : queryLines())
            ring.append(WordBoxFactory::makeCyclic(makeWord(QString::fromLatin1(q), 5000)));
        return ring;
    }

    void decodeFrame(QByteArray const&) override
    {
        if (++answered == kWordsPerRun)
            done();
        respond();
    }

    int answered = 0;
    std::function<void()> done;
};

double queue(quint16 port)
{
    auto io
        = QSharedPointer<io::visa::VisaIO>::create(QStringLiteral("TCPIP0::127.0.0.1::%1::SOCKET").arg(port));
    CountingInst inst(io, true);
    inst.setInterval(0);
    QEventLoop loop;
    QElapsedTimer clock;
    inst.done = [&] {
        loop.quit();
    };
    QObject::connect(&inst, &MeasureInst::started, &loop, [&] { clock.start(); });
    QObject::connect(&inst, &MeasureInst::stoped, &loop, [&] { loop.quit(); });
    inst.open();
    loop.exec();
    double const rate = inst.answered * 1000.0 / qMax<qint64>(1, clock.elapsed());
    inst.closeForce();
    return rate;
}

double median(QList<double> v)
{
    std::sort(v.begin(), v.end());
    return v.at(v.size() / 2);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);

    QThread peerThread;
    auto* peer = new EchoPeer;
    peer->moveToThread(&peerThread);
    peerThread.start();
    bool listening = false;
    QMetaObject::invokeMethod(
        peer, [&] { listening = peer->listen(); }, Qt::BlockingQueuedConnection);
    if (!listening) {
        std::fprintf(stderr, "cannot listen on loopback\n");
        return 1;
    }

    QList<double> bare;
    QList<double> queued;
    // Interleaved rounds, so that a noisy moment of the machine hits both alike.
    for (int round = 0; round < kRounds; ++round) {
        bare.append(pingPong(peer->port()));
        queued.append(queue(peer->port()));
        std::printf("round %d: pingpong %.0f words/s, queue %.0f words/s\n", round + 1, bare.last(),
                    queued.last());
    }
    QMetaObject::invokeMethod(
        peer, [peer] { delete peer; }, Qt::BlockingQueuedConnection);
    peerThread.quit();
    peerThread.wait();

    double const b = median(bare);
    double const q = median(queued);
    std::printf("%d words per run, median of %d rounds\n", kWordsPerRun, kRounds);
    std::printf("queue_words_per_s=%.0f pingpong_words_per_s=%.0f ratio=%.2f\n", q, b, b > 0 ? q / b : 0.0);
    return 0;
}
