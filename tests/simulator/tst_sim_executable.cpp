// kvr9000-sim as its own process: the listening line and an answer over TCP. Its transports
// are tested in process with the framework's clients.

#include <QProcess>
#include <QRegularExpression>
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
        socket.write("*IDN?\r\n:VOLT 10\n:CURR 1\r\n:OUTP ON\n:MEAS:ALL?\n"); // a CR before the LF is ignored
        QByteArray answers;
        while (answers.count('\n') < 2 && socket.waitForReadyRead(5000))
            answers.append(socket.readAll());
        QCOMPARE(answers, kIdentity.toLatin1() + "\n10.000,0.5000,5.000\n");
    }
};

QTEST_GUILESS_MAIN(TestSimExecutable)
#include "tst_sim_executable.moc"
