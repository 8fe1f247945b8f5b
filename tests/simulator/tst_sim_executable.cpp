// kvr9000-sim as its own process: the listening line and an answer over TCP, its pseudo-terminal,
// real VXI-11 clients against it, and its exit status on bad input.

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

QString const kIdentity = QStringLiteral("KVR,KVR9160-8,SIM9000001,1.03");

// The simulator, stopped when it goes out of scope.
class Sim
{
public:
    ~Sim()
    {
        process.kill();
        process.waitForFinished(5000);
    }

    // The lines printed up to the listening line, which ends them.
    QStringList start(QStringList const& extra)
    {
        process.start(KVR9000_SIM_EXECUTABLE,
                      QStringList {"--model", "KVR9160-8", "--port", "0", "--noise", "0"} + extra);
        QStringList lines;
        while (lines.isEmpty() || !lines.last().startsWith(QLatin1String("listening on"))) {
            if (!process.canReadLine() && !process.waitForReadyRead(10000))
                break;
            while (process.canReadLine())
                lines << QString::fromLocal8Bit(process.readLine()).trimmed();
        }
        return lines;
    }

    QProcess process;
};

} // namespace

class TestSimExecutable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Debian's python3-pyvisa-py lives beside the system's interpreter, which a PATH may hide.
        for (QString const& python : {QStringLiteral("/usr/bin/python3"), QStringLiteral("python3")}) {
            QProcess probe;
            probe.start(python, {"-c", "import pyvisa, pyvisa_py"});
            if (probe.waitForFinished(20000) && probe.exitStatus() == QProcess::NormalExit
                && probe.exitCode() == 0) {
                m_python = python;
                break;
            }
        }
    }

    void listensAndAnswers()
    {
        Sim sim;
        QStringList const lines = sim.start({"--load", "20"});
        QRegularExpressionMatch const match
            = QRegularExpression("^listening on 127\\.0\\.0\\.1:(\\d+)$").match(lines.value(0));
        QVERIFY2(lines.size() == 1 && match.hasMatch(), qPrintable(lines.join(u'|')));

        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, quint16(match.captured(1).toUInt()));
        QVERIFY(socket.waitForConnected(5000));
        socket.write("*IDN?\n:VOLT 10\n:CURR 1\n:OUTP ON\n:MEAS:ALL?\n");
        QByteArray answers;
        while (answers.count('\n') < 2 && socket.waitForReadyRead(5000))
            answers.append(socket.readAll());
        QCOMPARE(answers, kIdentity.toLatin1() + "\n10.000,0.5000,5.000\n");
    }

    void ptyPathComesFirstAndAnswers()
    {
        Sim sim;
        QStringList const lines = sim.start({"--pty"});
        QVERIFY2(lines.size() == 2 && lines.first().startsWith(QLatin1String("/dev/")),
                 qPrintable(lines.join(u'|')));
        int const fd = ::open(qPrintable(lines.first()), O_RDWR | O_NOCTTY);
        QVERIFY2(fd >= 0, qPrintable(lines.first()));
        QCOMPARE(::write(fd, "*IDN?\n", 6), ssize_t(6));
        QByteArray answer;
        pollfd readable {fd, POLLIN, 0};
        char buffer[256];
        while (!answer.contains('\n') && ::poll(&readable, 1, 5000) > 0) {
            ssize_t const n = ::read(fd, buffer, sizeof buffer);
            if (n <= 0)
                break;
            answer.append(buffer, n);
        }
        ::close(fd);
        QCOMPARE(answer, kIdentity.toLatin1() + '\n');
    }

    void vxi11Clients_data()
    {
        // In the arguments and the answer, <pmap> stands for the portmapper's port, <core> for the core
        // channel's.
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("needsPort111");
        QTest::addColumn<QString>("answer");

        auto const pyvisa = [](char const* script) {
            return QStringList {"-c",
                                QStringLiteral("import pyvisa\n"
                                               "i = pyvisa.ResourceManager('@py').open_resource("
                                               "'TCPIP::127.0.0.1::INSTR')\n")
                                    + QLatin1String(script)};
        };
        // PyVISA-py's own portmapper client, pointed at the port the simulator printed.
        auto const portmapper = [](char const* transport) {
            return QStringList {"-c",
                                QStringLiteral("from pyvisa_py.protocols import rpc\n"
                                               "class Mapper(rpc.PartialPortMapperClient, rpc.Raw%1Client):\n"
                                               "    def __init__(self):\n"
                                               "        rpc.Raw%1Client.__init__(self, '127.0.0.1', "
                                               "rpc.PMAP_PROG, rpc.PMAP_VERS, <pmap>)\n"
                                               "        rpc.PartialPortMapperClient.__init__(self)\n"
                                               "print(Mapper().get_port((0x0607AF, 1, 6, 0)))\n")
                                    .arg(QLatin1String(transport))};
        };
        QTest::newRow("lxi-tools") << "lxi" << QStringList {"scpi", "-a", "127.0.0.1", "*IDN?"} << true
                                   << kIdentity;
        QTest::newRow("PyVISA-py") << "python" << pyvisa("print(i.query('*IDN?'))") << true << kIdentity;
        QTest::newRow("PyVISA-py, reads of 4 bytes")
            << "python" << pyvisa("i.chunk_size = 4\nprint(i.query('*IDN?'))") << true << kIdentity;
        QTest::newRow("PyVISA-py, term char")
            << "python" << pyvisa("i.read_termination = ','\nprint(i.query('*IDN?'))") << true << "KVR";
        QTest::newRow("PyVISA-py, device clear drops the answer")
            << "python" << pyvisa("i.write('*IDN?')\ni.clear()\nprint(i.query(':SYST:ERR?'))") << true
            << "0,\"No error\"";
        QTest::newRow("portmapper over UDP") << "python" << portmapper("UDP") << false << "<core>";
        QTest::newRow("portmapper over TCP") << "python" << portmapper("TCP") << false << "<core>";
    }

    void vxi11Clients()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        QFETCH(bool, needsPort111);
        QFETCH(QString, answer);
        QString const executable = program == u"python" ? m_python : QStandardPaths::findExecutable(program);
        if (executable.isEmpty()) {
            QSKIP(program == u"python" ? "PyVISA-py is not installed (python3-pyvisa, python3-pyvisa-py)"
                                       : "lxi is not installed (lxi-tools)");
        }
        Sim sim;
        QStringList const lines = sim.start({"--vxi11"});
        QRegularExpressionMatch const match
            = QRegularExpression(
                  "^vxi11 portmapper on 127\\.0\\.0\\.1:(\\d+), core channel on 127\\.0\\.0\\.1:(\\d+)$")
                  .match(lines.value(0));
        QVERIFY2(lines.size() == 2 && match.hasMatch(), qPrintable(lines.join(u'|')));
        if (needsPort111 && match.captured(1) != u"111") {
            QSKIP(qPrintable(QStringLiteral("the client asks port 111, which the simulator could not bind: ")
                             + QString::fromLocal8Bit(sim.process.readAllStandardError()).trimmed()));
        }
        arguments.replaceInStrings(QStringLiteral("<pmap>"), match.captured(1));
        answer.replace(QStringLiteral("<core>"), match.captured(2));

        QProcess client;
        client.start(executable, arguments);
        QVERIFY(client.waitForFinished(20000));
        QString const error = QString::fromLocal8Bit(client.readAllStandardError());
        QVERIFY2(client.exitStatus() == QProcess::NormalExit && client.exitCode() == 0, qPrintable(error));
        QCOMPARE(QString::fromLocal8Bit(client.readAllStandardOutput()).trimmed(), answer);
    }

    void refuses_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        auto row = [](char const* name, QStringList const& arguments, char const* message) {
            QTest::newRow(name) << arguments << QString(message);
        };
        row("model outside the family", {"--model", "KVR9999-1", "--port", "0"}, "KVR9999-1");
        row("no model", {"--port", "0"}, "--model");
        row("unknown option", {"--model", "KVR9040-40", "--volume", "11"}, "volume");
        row("port too large", {"--model", "KVR9040-40", "--port", "70000"}, "--port");
        row("bad address", {"--model", "KVR9040-40", "--bind", "nowhere"}, "--bind");
        row("negative latency", {"--model", "KVR9040-40", "--latency-ms", "-5"}, "--latency-ms");
        row("busy port", {"--model", "KVR9040-40", "--port", "BUSY"}, "Cannot listen");
    }

    void refuses()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        QTcpServer holder;
        QVERIFY(holder.listen(QHostAddress::LocalHost, 0));
        arguments.replaceInStrings("BUSY", QString::number(holder.serverPort()));
        QProcess process;
        process.start(KVR9000_SIM_EXECUTABLE, arguments);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(process.readAllStandardOutput().isEmpty());
        QString const error = QString::fromLocal8Bit(process.readAllStandardError());
        QVERIFY2(error.contains(message), qPrintable(error));
    }

private:
    QString m_python;
};

QTEST_GUILESS_MAIN(TestSimExecutable)
#include "tst_sim_executable.moc"
