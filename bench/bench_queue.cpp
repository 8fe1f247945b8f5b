// Words per second through the command queue against a trivial answering peer
// on loopback, next to a bare QTcpSocket ping-pong of the same lines; and the
// same queue over the other transports of VisaIO: a serial line on a
// pseudo-terminal relayed to the peer, a VISA library (the stand-in one built
// beside this benchmark) and VXI-11 through the simulator's VXI-11 server, which
// relays each link to the peer as the pseudo-terminal does.

#include "measure/io/visa/visaio.h"
#include "measure/measureinst.h"
#include "simulator/ptybridge.h"
#include "simulator/vxi11server.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <memory>

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
    return double(answered) * 1000.0 / double(qMax<qint64>(1, clock.elapsed()));
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

QString socketResource(quint16 port)
{
    return QStringLiteral("TCPIP0::127.0.0.1::%1::SOCKET").arg(port);
}

// Runs the queue over a channel on resource with the given settings; 0 when it cannot open.
double queue(QString const& resource, QVariantMap const& attributes = {})
{
    auto io = QSharedPointer<io::visa::VisaIO>::create(resource);
    for (auto it = attributes.begin(); it != attributes.end(); ++it)
        io->setAttribute(it.key(), it.value());
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
    double const rate = inst.answered < kWordsPerRun
        ? 0.0
        : double(inst.answered) * 1000.0 / double(qMax<qint64>(1, clock.elapsed()));
    inst.closeForce();
    return rate;
}

double median(QList<double> v)
{
    if (v.isEmpty())
        return 0;
    std::sort(v.begin(), v.end());
    return v.at(v.size() / 2);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);

    // The peer and the relays to it run on their own thread, as an instrument would be elsewhere.
    QThread peerThread;
    auto* peer = new EchoPeer;
    auto* pty = new kvrsim::PtyBridge;
    auto* vxi11 = new kvrsim::Vxi11Server;
    for (QObject* o : {static_cast<QObject*>(peer), static_cast<QObject*>(pty), static_cast<QObject*>(vxi11)})
        o->moveToThread(&peerThread);
    peerThread.start();
    bool listening = false;
    QString ptyError;
    QString vxi11Error;
    QMetaObject::invokeMethod(
        peer,
        [&] {
            listening = peer->listen();
            if (listening && !pty->start(QHostAddress::LocalHost, peer->port()))
                ptyError = pty->errorString();
            if (!listening)
                return;
            if (!vxi11->start(QHostAddress::LocalHost, QHostAddress::LocalHost, peer->port()))
                vxi11Error = vxi11->errorString();
            // liblxi asks the portmapper on port 111 and nowhere else.
            else if (!vxi11->standardPortError().isEmpty())
                vxi11Error = vxi11->standardPortError();
        },
        Qt::BlockingQueuedConnection);
    if (!listening) {
        std::fprintf(stderr, "cannot listen on loopback\n");
        return 1;
    }
    QString const ptyResource = ptyError.isEmpty() ? pty->resourceString() : QString();
    QString const vxi11Resource = vxi11->resourceString();
    QVariantMap const library {{QStringLiteral("visaLibrary"), QStringLiteral(ZELT_BENCH_FAKEVISA)}};

    QList<double> bare;
    QList<double> queued;
    QList<double> serial;
    QList<double> overLibrary;
    QList<double> overVxi11;
    // Interleaved rounds, so that a noisy moment of the machine hits all alike.
    for (int round = 0; round < kRounds; ++round) {
        bare.append(pingPong(peer->port()));
        queued.append(queue(socketResource(peer->port())));
        if (ptyError.isEmpty())
            serial.append(queue(ptyResource, {{QStringLiteral("baudRate"), 115200}}));
        overLibrary.append(queue(socketResource(peer->port()), library));
        if (vxi11Error.isEmpty())
            overVxi11.append(queue(vxi11Resource));
        std::printf("round %d: pingpong %.0f, queue %.0f, pty %.0f, visa library %.0f, vxi11 %.0f words/s\n",
                    round + 1, bare.last(), queued.last(), serial.value(round), overLibrary.last(),
                    overVxi11.value(round));
    }
    QMetaObject::invokeMethod(
        peer,
        [=] {
            delete vxi11;
            delete pty;
            delete peer;
        },
        Qt::BlockingQueuedConnection);
    peerThread.quit();
    peerThread.wait();

    if (!ptyError.isEmpty())
        std::printf("no pseudo-terminal, pty_words_per_s=0: %s\n", qPrintable(ptyError));
    if (!vxi11Error.isEmpty())
        std::printf("no VXI-11 server, vxi11_words_per_s=0: %s\n", qPrintable(vxi11Error));
    double const b = median(bare);
    double const q = median(queued);
    std::printf("%d words per run, median of %d rounds\n", kWordsPerRun, kRounds);
    std::printf("queue_words_per_s=%.0f pingpong_words_per_s=%.0f ratio=%.2f pty_words_per_s=%.0f "
                "vxi11_words_per_s=%.0f visalib_words_per_s=%.0f\n",
                q, b, b > 0 ? q / b : 0.0, median(serial), median(overVxi11), median(overLibrary));
    return 0;
}
