// VisaIO on each of its transports: the driver polls the simulated instrument
// through each exactly as through the socket, and every way of failing ends the
// run with a message that names the resource and the cause.

#include "driver/mydmm.h"
#include "tests/common/files.h"
#include "tests/common/pollingring.h"

#include "measure/io/visa/usbtmclink.h"
#include "measure/io/visa/visaio.h"
#include "measure/io/visa/visalibrary.h"
#include "measure/io/visa/visaresource.h"
#include "measure/measureinst.h"
#include "measure/queryclient.h"
#include "simulator/kvrinstrument.h"
#include "simulator/ptybridge.h"
#include "simulator/simserver.h"
#include "simulator/vxi11server.h"

#include <QSerialPort>
#include <QtNetwork>
#include <QtTest>

#include <memory>

using zelt::measure::MeasureInst;
using zelt::measure::QueryClient;
using zelt::measure::io::LinkError;
using zelt::measure::io::visa::UsbTmcLink;
using zelt::measure::io::visa::VisaIO;
using zelt::measure::io::visa::VisaLibrary;
using zelt::measure::io::visa::VisaResource;

namespace {

QString const kFakeVisa = QStringLiteral(FAKEVISA_PATH);
QString const kFakeVisaWithoutRead = QStringLiteral(FAKEVISA_WITHOUT_READ_PATH);

// Opens the driver on io and waits for two samples; false when they do not come.
bool twoSamples(MyDMM& dmm)
{
    dmm.setInterval(0);
    QSignalSpy samples(&dmm, &MyDMM::updateData);
    QSignalSpy errors(&dmm, &MyDMM::ioError);
    if (!dmm.open())
        return false;
    while (samples.size() < 2) {
        if (!samples.wait(5000) || !errors.isEmpty()) {
            qWarning() << "no sample:" << errors;
            return false;
        }
    }
    return true;
}

} // namespace

class TestVisaTransports : public QObject
{
    Q_OBJECT

    std::unique_ptr<kvrsim::SimServer> m_sim;
    QTemporaryDir m_sysfs;

    // Points io at the simulator through transport, with what that needs; false
    // when that fails, true with skip set when it cannot be done here.
    bool reach(QString const& transport, VisaIO& io, kvrsim::PtyBridge& pty, kvrsim::Vxi11Server& vxi11,
               QString& skip, quint16 port = 0)
    {
        port = port ? port : m_sim->port();
        QString const socket = QStringLiteral("TCPIP0::127.0.0.1::%1::SOCKET").arg(port);
        if (transport == u"socket") {
            io.setResource(socket);
        } else if (transport == u"pty") {
            if (!pty.start(QHostAddress::LocalHost, port)) {
                qWarning("%s", qPrintable(pty.errorString()));
                return false;
            }
            io.setResource(pty.resourceString());
            io.setAttribute(QStringLiteral("baudRate"), 115200);
        } else if (transport == u"library") {
            io.setResource(socket);
            io.setAttribute(QStringLiteral("visaLibrary"), kFakeVisa);
        } else if (transport == u"alias") {
            qputenv("FAKEVISA_ALIAS", QStringLiteral("bench-psu=%1").arg(socket).toUtf8());
            io.setResource(QStringLiteral("bench-psu"));
            io.setAttribute(QStringLiteral("visaLibrary"), kFakeVisa);
        } else {
            if (!vxi11.start(QHostAddress::LocalHost, QHostAddress::LocalHost, port)) {
                qWarning("%s", qPrintable(vxi11.errorString()));
                return false;
            }
            // liblxi asks the portmapper on port 111 and nowhere else.
            if (!vxi11.standardPortError().isEmpty())
                skip = QStringLiteral("VXI-11 needs port 111, which this suite may not bind (not root?): ")
                    + vxi11.standardPortError();
            io.setResource(vxi11.resourceString());
        }
        return true;
    }

    void transports()
    {
        QTest::addColumn<QString>("transport");
        QTest::newRow("socket") << "socket";
        QTest::newRow("serial over a pseudo-terminal") << "pty";
        QTest::newRow("VISA library, socket resource") << "library";
        QTest::newRow("VISA library, alias") << "alias";
        QTest::newRow("VXI-11") << "vxi11";
    }

private Q_SLOTS:
    void initTestCase()
    {
        // The shape of sysfs: class entries whose "device" leads to the interface,
        // under the USB device that holds the ids.
        QVERIFY(m_sysfs.isValid());
        QDir const dir(m_sysfs.path());
        auto const device = [&](char const* name, char const* usb, char const* vendor, char const* product,
                                char const* serial) {
            QString const interface = QStringLiteral("devices/%1/%1:1.0").arg(QLatin1String(usb));
            QVERIFY(dir.mkpath(interface)
                    && dir.mkpath(QStringLiteral("class/usbmisc/") + QLatin1String(name)));
            auto const write = [&](QString const& path, char const* text) {
                QVERIFY(writeFile(dir.filePath(path), QByteArray(text) + '\n'));
            };
            write(interface + QStringLiteral("/../idVendor"), vendor);
            write(interface + QStringLiteral("/../idProduct"), product);
            write(interface + QStringLiteral("/../serial"), serial);
            write(interface + QStringLiteral("/bInterfaceNumber"), "00");
            QVERIFY(QFile::link(
                dir.filePath(interface),
                dir.filePath(QStringLiteral("class/usbmisc/%1/device").arg(QLatin1String(name)))));
        };
        device("usbtmc0", "1-1", "0957", "1796", "MY5800");
        device("usbtmc1", "1-2", "1ab1", "0e11", "DP8B001");
    }

    void init()
    {
        m_sim = std::make_unique<kvrsim::SimServer>();
        kvrsim::SimOptions options;
        options.noise = 0;
        QVERIFY2(m_sim->start(options), qPrintable(m_sim->errorString()));
    }

    void cleanup()
    {
        m_sim.reset();
        qunsetenv("FAKEVISA_ALIAS");
    }

    void driverPollsAsOverTheSocketTillTheLinkGoes_data() { transports(); }

    void driverPollsAsOverTheSocketTillTheLinkGoes()
    {
        QFETCH(QString, transport);
        auto io = QSharedPointer<VisaIO>::create();
        auto pty = std::make_unique<kvrsim::PtyBridge>();
        auto vxi11 = std::make_unique<kvrsim::Vxi11Server>();
        QString skip;
        QVERIFY(reach(transport, *io, *pty, *vxi11, skip));
        if (!skip.isEmpty())
            QSKIP(qPrintable(skip));

        MyDMM dmm(ChannelLimitRange(), io, true);
        QSignalSpy stopped(&dmm, &MyDMM::stoped);
        QSignalSpy errors(&dmm, &MyDMM::ioError);
        QVERIFY(twoSamples(dmm));
        // The mode query opens the run, then two passes of the ring.
        QStringList const ring = pollingRing();
        QCOMPARE(m_sim->receivedLines().mid(0, 1 + 2 * ring.size()),
                 QStringList {ring.first()} + ring + ring);

        // The far end goes: the unit is switched off, the cable pulled.
        pty.reset();
        vxi11.reset();
        m_sim.reset();
        QVERIFY(stopped.wait(5000));
        QCOMPARE(errors.size(), 1);
        QString const message = errors.first().first().toString();
        QVERIFY2(message.contains(io->resource()) && message.contains(QStringLiteral("lost")),
                 qPrintable(message));
        QCOMPARE(int(io->errorKind()), int(LinkError::Lost));
    }

    void failuresEndTheRunWithTheirKind_data()
    {
        QTest::addColumn<QString>("resource");
        QTest::addColumn<QString>("attribute");
        QTest::addColumn<QString>("value");
        // "closes": a listener that takes the connection and closes it, on the port "%1";
        // "held": the resource is a pseudo-terminal that another port holds open.
        QTest::addColumn<QString>("peer");
        QTest::addColumn<LinkError>("kind");
        QTest::addColumn<QString>("cause");

        QString const none;
        auto const row = [&](char const* name, QString const& resource, QString const& attribute,
                             QString const& value, QString const& peer, LinkError kind, char const* cause) {
            QTest::newRow(name) << resource << attribute << value << peer << kind << QString(cause);
        };
        row("serial device missing", "ASRL/dev/ttyKVR404::INSTR", none, none, none,
            LinkError::InvalidResource, "no such device");
        row("serial port zero", "ASRL0::INSTR", none, none, none, LinkError::InvalidResource, "start at 1");
        row("serial setting", "ASRL/dev/ttyKVR404::INSTR", "parity", "sometimes", none,
            LinkError::InvalidResource, "parity \"sometimes\"");
        row("serial port held by another", none, none, none, "held", LinkError::Permission,
            "in use by another program");
        row("USB-TMC device absent", "USB0::0x1AB1::0x04CE::KVR404::INSTR", none, none, none,
            LinkError::InvalidResource, "no USB-TMC device with vendor id 0x1AB1");
        row("socket nobody listening", "TCPIP0::127.0.0.1::1::SOCKET", none, none, none, LinkError::Refused,
            "Cannot connect to");
        row("socket never accepted", "TCPIP0::127.0.0.1::%1::SOCKET", none, none, "deaf", LinkError::TimedOut,
            "no answer within 1000 ms");
        row("socket closed by the peer", "TCPIP0::127.0.0.1::%1::SOCKET", none, none, "closes",
            LinkError::Lost, "closed the connection");
        row("VXI-11 nobody listening", "TCPIP0::127.0.0.1::inst0::INSTR", none, none, none,
            LinkError::Refused, "Cannot connect to");
        row("GPIB without a VISA library", "GPIB0::5::INSTR", none, none, none, LinkError::InvalidResource,
            "GPIB needs an installed");
        row("alias without a VISA library", "bench-psu", none, none, none, LinkError::InvalidResource,
            "Invalid VISA resource");
        row("VISA library missing", "bench-psu", "visaLibrary", "libkvr404visa.so", none, LinkError::Other,
            "cannot load the VISA library libkvr404visa.so");
        row("VISA library lacks a function", "bench-psu", "visaLibrary", kFakeVisaWithoutRead, none,
            LinkError::Other, "lacks the function viRead");
        row("VISA library refuses the resource", "TCPIP0::127.0.0.1::1::SOCKET", "visaLibrary", kFakeVisa,
            none, LinkError::Refused, "0xbfff0011");
    }

    void failuresEndTheRunWithTheirKind()
    {
        QFETCH(QString, resource);
        QFETCH(QString, attribute);
        QFETCH(QString, value);
        QFETCH(QString, peer);
        QFETCH(LinkError, kind);
        QFETCH(QString, cause);
        QTcpServer listener;
        QTcpSocket filler;
        kvrsim::PtyBridge pty;
        QSerialPort holder;
        if (peer == u"deaf") {
            // A listener whose backlog is full and that accepts nothing never answers the handshake.
            listener.setListenBacklogSize(0);
            QVERIFY(listener.listen(QHostAddress::LocalHost));
            listener.pauseAccepting();
            filler.connectToHost(QHostAddress::LocalHost, listener.serverPort());
            QVERIFY(filler.waitForConnected(1000));
            resource = resource.arg(listener.serverPort());
        } else if (peer == u"closes") {
            QVERIFY(listener.listen(QHostAddress::LocalHost));
            connect(&listener, &QTcpServer::newConnection, this, [&listener] {
                while (QTcpSocket* socket = listener.nextPendingConnection()) {
                    socket->close();
                    socket->deleteLater();
                }
            });
            resource = resource.arg(listener.serverPort());
        } else if (peer == u"held") {
            QVERIFY2(pty.start(m_sim->address(), m_sim->port()), qPrintable(pty.errorString()));
            holder.setPortName(pty.path());
            QVERIFY2(holder.open(QIODevice::ReadWrite), qPrintable(holder.errorString()));
            resource = pty.resourceString();
        }
        VisaResource const parsed = VisaResource::parse(resource);
        bool const libraryServes = !parsed.isValid() || parsed.kind == VisaResource::Kind::Gpib;
        QString ignored;
        if (attribute.isEmpty() && libraryServes && VisaLibrary::load({}, ignored))
            QSKIP("A VISA library is installed here: it serves what the built-in transports do not.");
        // Looking for a VISA library that is not there says nothing.
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));

        auto io = QSharedPointer<VisaIO>::create(resource);
        io->setTimeout(1000);
        if (!attribute.isEmpty())
            io->setAttribute(attribute, value);
        MeasureInst inst(io, true);
        QSignalSpy started(&inst, &MeasureInst::started);
        QSignalSpy stopped(&inst, &MeasureInst::stoped);
        QSignalSpy errors(&inst, &MeasureInst::ioError);
        inst.open();
        QCOMPARE(stopped.size(), 0); // never from inside open()
        QVERIFY(stopped.wait(5000));
        QCOMPARE(started.size(), kind == LinkError::Lost ? 1 : 0); // only a link that was opened is lost
        QVERIFY(!inst.active());
        QCOMPARE(errors.size(), 1);
        QString const message = errors.first().first().toString();
        QVERIFY2(message.contains(resource) && message.contains(cause), qPrintable(message));
        QCOMPARE(inst.errorString(), message);
        QCOMPARE(int(io->errorKind()), int(kind));
    }

    void lateAnswerIsNotTakenForTheNext_data()
    {
        // Neither has a device clear: the late answer is read away.
        QTest::addColumn<QString>("transport");
        QTest::newRow("VISA library") << "library";
        QTest::newRow("VXI-11") << "vxi11";
    }

    void lateAnswerIsNotTakenForTheNext()
    {
        QFETCH(QString, transport);
        VisaIO io;
        kvrsim::PtyBridge pty;
        kvrsim::Vxi11Server vxi11;
        QString skip;
        QVERIFY(reach(transport, io, pty, vxi11, skip));
        if (!skip.isEmpty())
            QSKIP(qPrintable(skip));
        io.setTimeout(100);
        QSignalSpy opened(&io, &VisaIO::opened);
        QSignalSpy answers(&io, &VisaIO::dataReceived);
        io.open();
        QVERIFY(opened.wait());

        QSignalSpy sent(m_sim.get(), &kvrsim::SimServer::answerSent);
        m_sim->setLatency(500);
        QVERIFY(io.write("*IDN?\n"));
        QVERIFY(sent.wait(5000)); // the read gave up at 100 ms; the answer comes at 500
        QTest::qWait(200); // for the relays to pass it on
        QVERIFY(answers.isEmpty());
        m_sim->setLatency(0);
        QString const mode = QStringLiteral(":SYSTem:POWER:MODE?");
        QVERIFY(io.write(mode.toLatin1() + '\n'));
        QVERIFY(answers.wait(5000));
        QCOMPARE(answers.first().first().toByteArray(),
                 m_sim->instrument().handleLine(mode)->toLatin1() + '\n');
    }

    void splitLineIsOneAnswer_data() { transports(); }
    // An answer that reaches the link in two pieces, the second late, is one answer.
    void splitLineIsOneAnswer()
    {
        QFETCH(QString, transport);
        QTcpServer halves;
        QVERIFY(halves.listen(QHostAddress::LocalHost));
        connect(&halves, &QTcpServer::newConnection, this, [&halves] {
            QTcpSocket* unit = halves.nextPendingConnection();
            connect(unit, &QTcpSocket::readyRead, unit, [unit] {
                while (unit->canReadLine() && !unit->readLine().isEmpty()) {
                    unit->write("KVR,KVR9");
                    QTimer::singleShot(50, unit, [unit] { unit->write("040-40\n"); });
                }
            });
        });
        auto io = QSharedPointer<VisaIO>::create();
        kvrsim::PtyBridge pty;
        kvrsim::Vxi11Server vxi11;
        QString skip;
        QVERIFY(reach(transport, *io, pty, vxi11, skip, halves.serverPort()));
        if (!skip.isEmpty())
            QSKIP(qPrintable(skip));
        MeasureInst inst(io, true);
        QSignalSpy started(&inst, &MeasureInst::started);
        inst.open();
        QVERIFY(started.wait());
        QueryClient client(&inst);
        QSignalSpy answered(&client, &QueryClient::answered);
        client.send("*IDN?");
        client.send("*IDN?");
        QTRY_COMPARE_WITH_TIMEOUT(answered.size(), 2, 10000);
        for (auto const& answer : answered)
            QCOMPARE(answer.at(1).toByteArray(), QByteArray("KVR,KVR9040-40"));
    }

    // Each lookup goes through the listing of the usbtmc interfaces that sysfs shows.
    void usbTmcLocate_data()
    {
        QTest::addColumn<QString>("resource");
        QTest::addColumn<QString>("node"); // empty: none matches

        auto const row = [](char const* name, char const* resource, char const* node) {
            QTest::newRow(name) << QString(resource) << QString(node);
        };
        row("vendor, product, serial", "USB0::0x1AB1::0x0E11::DP8B001::INSTR", "usbtmc1");
        row("decimal ids", "USB::6833::3601::DP8B001::INSTR", "usbtmc1");
        row("interface given", "USB0::0x1AB1::0x0E11::DP8B001::0::INSTR", "usbtmc1");
        row("other interface", "USB0::0x1AB1::0x0E11::DP8B001::1::INSTR", "");
        row("other serial", "USB0::0x1AB1::0x0E11::DP8B002::INSTR", "");
        row("same serial, other product", "USB0::0x1AB1::0x04CE::DP8B001::INSTR", "");
        row("second device", "USB0::0x0957::0x1796::MY5800::INSTR", "usbtmc0");
    }

    void usbTmcLocate()
    {
        QFETCH(QString, resource);
        QFETCH(QString, node);
        QString error;
        QString const found = UsbTmcLink::locate(VisaResource::parse(resource), m_sysfs.path(),
                                                 QStringLiteral("/dev"), error);
        QCOMPARE(found, node.isEmpty() ? QString() : QStringLiteral("/dev/") + node);
        QCOMPARE(error.isEmpty(), !node.isEmpty());
    }
};

QTEST_MAIN(TestVisaTransports)
#include "tst_visatransports.moc"
