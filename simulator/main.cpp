// kvr9000-sim: the simulated KVR9000 power supply on a raw TCP socket, and on request on a
// pseudo-terminal and over VXI-11 as well.

#include "simulator/kvrratings.h"
#include "simulator/ptybridge.h"
#include "simulator/simserver.h"
#include "simulator/vxi11server.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QHostAddress>

#include <cstdio>
#include <optional>

namespace {

constexpr int kUsageError = 2;

int fail(QString const& message)
{
    std::fprintf(stderr, "kvr9000-sim: %s\n", qPrintable(message));
    return kUsageError;
}

std::optional<int> intValue(QCommandLineParser const& parser, QString const& name, int low, int high)
{
    bool ok = false;
    int const value = parser.value(name).toInt(&ok);
    if (!ok || value < low || value > high)
        return std::nullopt;
    return value;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kvr9000-sim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Simulated KVR9000 power supply on a raw TCP socket."));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("model"), QStringLiteral("Model, such as KVR9040-40."), QStringLiteral("MODEL")},
        {QStringLiteral("port"), QStringLiteral("TCP port; 0 picks a free one (default 5025)."),
         QStringLiteral("P"), QStringLiteral("5025")},
        {QStringLiteral("bind"), QStringLiteral("Address to listen on (default 127.0.0.1)."),
         QStringLiteral("ADDR"), QStringLiteral("127.0.0.1")},
        {QStringLiteral("load"), QStringLiteral("Load resistance in ohms (default 10)."),
         QStringLiteral("OHMS"), QStringLiteral("10")},
        {QStringLiteral("latency-ms"), QStringLiteral("Delay of every answer in milliseconds."),
         QStringLiteral("N"), QStringLiteral("0")},
        {QStringLiteral("seed"), QStringLiteral("Seed of the reading noise."), QStringLiteral("N"),
         QStringLiteral("1")},
        {QStringLiteral("noise"), QStringLiteral("Reading noise as a fraction of range (default 0.0005)."),
         QStringLiteral("F"), QStringLiteral("0.0005")},
        {QStringLiteral("drop-every"), QStringLiteral("Drop one answer in N."), QStringLiteral("N"),
         QStringLiteral("0")},
        {QStringLiteral("malform-every"), QStringLiteral("Answer one query in N with malformed text."),
         QStringLiteral("N"), QStringLiteral("0")},
        {QStringLiteral("late-every"), QStringLiteral("Answer one query in N late (see --late-ms)."),
         QStringLiteral("N"), QStringLiteral("0")},
        {QStringLiteral("late-ms"), QStringLiteral("How late that answer comes, in milliseconds."),
         QStringLiteral("M"), QStringLiteral("0")},
        {QStringLiteral("close-after"), QStringLiteral("Close a connection after N received lines."),
         QStringLiteral("N"), QStringLiteral("0")},
        {QStringLiteral("pty"),
         QStringLiteral(
             "Serve a pseudo-terminal too, as a serial line; its path is the first line printed.")},
        {QStringLiteral("vxi11"),
         QStringLiteral("Serve VXI-11 too (TCPIP::ADDR::INSTR). Its portmapper takes port 111 (UDP and "
                        "TCP) where that can be bound, else a free port; prints \"vxi11 portmapper on "
                        "ADDR:PORT, core channel on ADDR:PORT\" before the listening line.")},
    });
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(parser.errorText());
    if (parser.isSet(QStringLiteral("help"))) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    kvrsim::SimOptions options;
    if (!parser.isSet(QStringLiteral("model")))
        return fail(QStringLiteral("--model is required"));
    options.model = parser.value(QStringLiteral("model"));
    if (!kvrsim::KvrRatings::fromModel(options.model))
        return fail(QStringLiteral("unknown model \"%1\": not of the KVR9000 family").arg(options.model));

    std::optional<int> const port = intValue(parser, QStringLiteral("port"), 0, 65535);
    if (!port)
        return fail(QStringLiteral("bad --port \"%1\"").arg(parser.value(QStringLiteral("port"))));
    options.port = static_cast<quint16>(*port);
    if (!options.bind.setAddress(parser.value(QStringLiteral("bind"))))
        return fail(QStringLiteral("bad --bind \"%1\"").arg(parser.value(QStringLiteral("bind"))));
    bool ok = false;
    options.loadOhms = parser.value(QStringLiteral("load")).toDouble(&ok);
    if (!ok || options.loadOhms < 0)
        return fail(QStringLiteral("bad --load \"%1\"").arg(parser.value(QStringLiteral("load"))));
    options.noise = parser.value(QStringLiteral("noise")).toDouble(&ok);
    if (!ok || options.noise < 0 || options.noise > 0.1)
        return fail(QStringLiteral("bad --noise \"%1\"").arg(parser.value(QStringLiteral("noise"))));
    options.seed = parser.value(QStringLiteral("seed")).toUInt(&ok);
    if (!ok)
        return fail(QStringLiteral("bad --seed \"%1\"").arg(parser.value(QStringLiteral("seed"))));

    struct IntOption
    {
        char const* name;
        int* target;
    };
    IntOption const intOptions[] = {{"latency-ms", &options.latencyMs},
                                    {"drop-every", &options.dropEvery},
                                    {"malform-every", &options.malformEvery},
                                    {"late-every", &options.lateEvery},
                                    {"late-ms", &options.lateMs},
                                    {"close-after", &options.closeAfterLines}};
    for (IntOption const& option : intOptions) {
        QString const name = QString::fromLatin1(option.name);
        std::optional<int> const value = intValue(parser, name, 0, 1000000);
        if (!value)
            return fail(QStringLiteral("bad --%1 \"%2\"").arg(name, parser.value(name)));
        *option.target = *value;
    }

    bool const pty = parser.isSet(QStringLiteral("pty"));
    bool const vxi11 = parser.isSet(QStringLiteral("vxi11"));
    // Behind a pseudo-terminal or VXI-11 the socket is only the relays' way in, unless a port was asked for.
    if ((pty || vxi11) && !parser.isSet(QStringLiteral("port")))
        options.port = 0;
    kvrsim::SimServer server;
    if (!server.start(options))
        return fail(server.errorString());
    kvrsim::PtyBridge bridge;
    if (pty) {
        if (!bridge.start(server.address(), server.port()))
            return fail(bridge.errorString());
        std::printf("%s\n", qPrintable(bridge.path()));
    }
    QHostAddress const address = server.address();
    QString host = address.toString();
    if (address.protocol() == QAbstractSocket::IPv6Protocol)
        host = QStringLiteral("[%1]").arg(host);
    kvrsim::Vxi11Server vxi11Server;
    if (vxi11) {
        if (!vxi11Server.start(address, address, server.port()))
            return fail(vxi11Server.errorString());
        if (!vxi11Server.standardPortError().isEmpty()) {
            std::fprintf(
                stderr,
                "kvr9000-sim: %s; clients that ask the portmapper on port 111 will not find this one\n",
                qPrintable(vxi11Server.standardPortError()));
        }
        std::printf("vxi11 portmapper on %s:%u, core channel on %s:%u\n", qPrintable(host),
                    unsigned(vxi11Server.portmapperPort()), qPrintable(host),
                    unsigned(vxi11Server.corePort()));
    }
    std::printf("listening on %s:%u\n", qPrintable(host), unsigned(server.port()));
    std::fflush(stdout);
    return app.exec();
}
