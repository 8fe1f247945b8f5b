// Samples per second of a polling driver against the simulated instrument, next to a bare
// ping-pong of the same queries on a plain socket, and the heap that one retained sample costs.

#include "driver/mydmm.h"

#include "measure/io/abstractio.h"
#include "measure/io/visa/visaio.h"
#include "measure/wordbox.h"
#include "simulator/kvrinstrument.h"
#include "simulator/kvrratings.h"
#include "simulator/manualclock.h"
#include "simulator/simserver.h"
#include "util/code.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QHash>
#include <QSet>
#include <QTcpSocket>
#include <QTimer>

#include <malloc.h>

#include <cmath>
#include <cstdio>
#include <optional>

using zelt::measure::io::AbstractIO;
using zelt::measure::io::visa::VisaIO;

namespace {

constexpr int kRunMs = 2500;
constexpr int kRetainedSamples = 100000;

// The queries of the driver's own normal ring, as they go on the wire; the sign words stay out.
QList<QByteArray> ringQueries()
{
    MyDMM dmm(ChannelLimitRange(), QSharedPointer<VisaIO>::create(), true);
    QList<QByteArray> lines;
    for (auto const& box : dmm.initCommand()) {
        QByteArray const& frame = box->word()->code()->frame();
        if (frame.contains('?'))
            lines.append(frame);
    }
    return lines;
}

// The ring's queries one at a time over a plain socket, each sent once the previous one is answered.
double barePassesPerSecond(QString const& host, quint16 port)
{
    QList<QByteArray> const lines = ringQueries();

    QTcpSocket socket;
    QEventLoop loop;
    int next = 0;
    qint64 passes = 0;
    QElapsedTimer clock;
    QObject::connect(&socket, &QTcpSocket::connected, &loop, [&] {
        // As the driver's socket has it; set before the connection exists, it would be dropped.
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        clock.start();
        socket.write(lines.at(next));
    });
    QObject::connect(&socket, &QTcpSocket::readyRead, &loop, [&] {
        while (socket.canReadLine()) {
            socket.readLine();
            if (++next == lines.size()) {
                next = 0;
                ++passes;
            }
            socket.write(lines.at(next));
        }
    });
    socket.connectToHost(host, port);
    QTimer::singleShot(kRunMs, &loop, &QEventLoop::quit);
    loop.exec();
    double const seconds = double(clock.nsecsElapsed()) / 1e9;
    socket.abort();
    return double(passes) / seconds;
}

double driverSamplesPerSecond(QString const& resource)
{
    auto io = QSharedPointer<VisaIO>::create(resource);
    io->setTimeout(2000);
    MyDMM dmm(ChannelLimitRange(), io, true);
    dmm.setInterval(0);

    QEventLoop loop;
    QObject::connect(&dmm, &MyDMM::updateData, &loop, &QEventLoop::quit);
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    dmm.open();
    loop.exec(); // the first sample: the ring for the mode is in
    QObject::disconnect(&dmm, &MyDMM::updateData, &loop, &QEventLoop::quit);

    qsizetype const first = dmm.getMeasureData().size();
    QElapsedTimer clock;
    clock.start();
    QTimer::singleShot(kRunMs, &loop, &QEventLoop::quit);
    loop.exec();
    double const seconds = double(clock.nsecsElapsed()) / 1e9;
    qsizetype const samples = dmm.getMeasureData().size() - first;
    dmm.closeForce();
    return double(samples) / seconds;
}

// An instrument in the process: every query is answered through the event loop, as a
// socket would, but with no socket in between. Measurements come from the simulated
// unit, with its noise; the other queries get the answer the unit gave the first time.
class InProcessIO : public AbstractIO
{
public:
    InProcessIO()
        : m_unit(*kvrsim::KvrRatings::fromModel(QStringLiteral("KVR9040-40")), &m_clock)
    {
        for (char const* line : {":SOURce:VOLTage:LEVel 12", ":SOURce:CURRent:LEVel 2", ":OUTPut:STATe ON"})
            m_unit.handleLine(QString::fromLatin1(line));
    }

    bool open() override
    {
        m_open = true;
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT opened(); }, Qt::QueuedConnection);
        return true;
    }
    void close() override { abort(); }
    void abort() override
    {
        m_open = false;
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT closed(); }, Qt::QueuedConnection);
    }
    bool isOpen() const override { return m_open; }
    QString description() const override { return QStringLiteral("in-process"); }

    bool write(QByteArray const& data) override
    {
        if (!m_open)
            return false;
        QByteArray const line = data.trimmed();
        if (!line.contains('?'))
            return true;
        auto cached = m_answers.constFind(line);
        QByteArray answer;
        if (cached != m_answers.constEnd()) {
            answer = *cached;
        } else {
            std::optional<QString> const reply = m_unit.handleLine(QString::fromLatin1(line));
            answer = reply ? reply->toLatin1() + '\n' : QByteArray("\n");
            if (!line.startsWith(":MEASure"))
                m_answers.insert(line, answer);
        }
        QMetaObject::invokeMethod(
            this, [this, answer] { Q_EMIT dataReceived(answer); }, Qt::QueuedConnection);
        return true;
    }

private:
    kvrsim::ManualClock m_clock;
    kvrsim::KvrInstrument m_unit;
    QHash<QByteArray, QByteArray> m_answers;
    bool m_open = false;
};

struct Retained
{
    double bytesPerSample = 0;
    double samplesPerSecond = 0;
    int noisyTexts = 0;
};

Retained retainedBytes()
{
    auto io = QSharedPointer<InProcessIO>::create();
    MyDMM dmm(ChannelLimitRange(), io, true);
    dmm.setInterval(0);

    QEventLoop loop;
    qsizetype target = -1;
    size_t before = 0;
    QElapsedTimer clock;
    QObject::connect(&dmm, &MyDMM::updateData, &loop, [&] {
        qsizetype const size = dmm.getMeasureData().size();
        if (target < 0) {
            // The first sample: from here on the ring runs unchanged.
            malloc_trim(0);
            before = mallinfo2().uordblks;
            target = size + kRetainedSamples;
            clock.start();
        } else if (size >= target) {
            dmm.close();
            loop.quit();
        }
    });
    dmm.open();
    loop.exec();
    double const seconds = double(clock.nsecsElapsed()) / 1e9;
    QCoreApplication::processEvents();
    size_t const after = mallinfo2().uordblks;

    Retained result;
    result.bytesPerSample = (double(after) - double(before)) / kRetainedSamples;
    result.samplesPerSecond = kRetainedSamples / seconds;
    // How many distinct power readings the history holds: the texts that no cache can share.
    QSet<QString> texts;
    for (auto const& sample : dmm.getMeasureData())
        texts.insert(sample->activeChannel()->power.text);
    result.noisyTexts = int(texts.size());
    return result;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);

    kvrsim::SimServer sim;
    kvrsim::SimOptions options;
    options.latencyMs = 0;
    if (!sim.start(options)) {
        std::fprintf(stderr, "simulator: %s\n", qPrintable(sim.errorString()));
        return 1;
    }
    sim.setLogLimit(1000);
    QString const host = sim.address().toString();

    // Alternate the two, so that drift of the machine's load touches both alike.
    double bare = 0;
    double driver = 0;
    for (int round = 0; round < 2; ++round) {
        double const b = barePassesPerSecond(host, sim.port());
        double const d = driverSamplesPerSecond(sim.resourceString());
        std::printf("round %d: bare %.0f passes/s, driver %.0f samples/s\n", round + 1, b, d);
        bare += b / 2;
        driver += d / 2;
    }
    double const overhead = (bare / driver - 1.0) * 100.0;
    std::printf("bare ping-pong: %.0f passes/s (%.1f us a pass, %.2f us a query)\n", bare, 1e6 / bare,
                1e6 / bare / double(ringQueries().size()));
    std::printf("driver:         %.0f samples/s (%.1f us a pass)\n", driver, 1e6 / driver);
    std::printf("driver cost:    %.1f us a pass over the bare exchange (%.1f %%)\n",
                1e6 / driver - 1e6 / bare, overhead);

    Retained const retained = retainedBytes();
    int const inlineBytes = int(sizeof(DmmData) + sizeof(Channel));
    std::printf("retained:       %d samples decoded in process at %.0f samples/s, %d distinct power texts\n",
                kRetainedSamples, retained.samplesPerSecond, retained.noisyTexts);
    std::printf("memory:         %.1f bytes a sample; inline %d (DmmData %d + Channel %d), limit %.0f\n",
                retained.bytesPerSample, inlineBytes, int(sizeof(DmmData)), int(sizeof(Channel)),
                1.25 * inlineBytes);

    std::printf(
        "samples_per_s=%.0f bare_passes_per_s=%.0f overhead_pct=%.1f bytes_per_sample=%.0f inline_bytes=%d\n",
        driver, bare, overhead, std::round(retained.bytesPerSample), inlineBytes);
    return 0;
}
