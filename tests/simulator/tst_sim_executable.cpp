// kvr9000-sim as its own process: the listening line and an answer over TCP, real VXI-11 clients
// against it, and its exit status on bad input.

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

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

    void vxi11Clients_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("answer");

        auto const pyvisa = [](char const* script) {
            return QStringList {"-c",
                                QStringLiteral("import pyvisa\n"
                                               "i = pyvisa.ResourceManager('@py').open_resource("
                                               "'TCPIP::127.0.0.1::INSTR')\n")
                                    + QLatin1String(script)};
        };
        QTest::newRow("lxi-tools") << "lxi" << QStringList {"scpi", "-a", "127.0.0.1", "*IDN?"} << kIdentity;
        QTest::newRow("PyVISA-py") << "python" << pyvisa("print(i.query('*IDN?'))") << kIdentity;
        QTest::newRow("PyVISA-py, device clear drops the answer")
            << "python" << pyvisa("i.write('*IDN?')\ni.clear()\nprint(i.query(':SYST:ERR?'))")
            << "0,\"No error\"";
    }

    void vxi11Clients()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
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
        if (match.captured(1) != u"111") {
            QSKIP(qPrintable(QStringLiteral("the client asks port 111, which the simulator could not bind: ")
                             + QString::fromLocal8Bit(sim.process.readAllStandardError()).trimmed()));
        }

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
