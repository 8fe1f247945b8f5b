// kvr9000-sim as its own process: the listening line, an answer over TCP, and its exit status on bad input.

#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

class TestSimExecutable : public QObject
{
    Q_OBJECT

private slots:
    void listensAndAnswers();
    void refuses_data();
    void refuses();
    void busyPort();

private:
    static QString program() { return QStringLiteral(KVR9000_SIM_EXECUTABLE); }
};

void TestSimExecutable::listensAndAnswers()
{
    QProcess process;
    process.start(program(), {"--model", "KVR9160-8", "--port", "0", "--noise", "0", "--load", "20"});
    QVERIFY(process.waitForStarted(5000));
    QTRY_VERIFY_WITH_TIMEOUT(process.canReadLine(), 10000);
    QString const first = QString::fromLatin1(process.readLine()).trimmed();
    QRegularExpressionMatch const match
        = QRegularExpression(QStringLiteral("^listening on 127\\.0\\.0\\.1:(\\d+)$")).match(first);
    QVERIFY2(match.hasMatch(), qPrintable(first));
    quint16 const port = static_cast<quint16>(match.captured(1).toUInt());
    QVERIFY(port != 0);

    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY(socket.waitForConnected(5000));
    socket.write("*IDN?\n:VOLT 10\n:CURR 1\n:OUTP ON\n:MEAS:ALL?\n");
    QByteArray answers;
    while (answers.count('\n') < 2 && socket.waitForReadyRead(5000))
        answers.append(socket.readAll());
    QCOMPARE(answers, QByteArray("KVR,KVR9160-8,SIM9000001,1.03\n10.000,0.5000,5.000\n"));

    process.kill();
    process.waitForFinished(5000);
}

void TestSimExecutable::refuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    QTest::newRow("model outside the family")
        << QStringList {"--model", "KVR9999-1", "--port", "0"} << "KVR9999-1";
    QTest::newRow("no model") << QStringList {"--port", "0"} << "--model";
    QTest::newRow("unknown option") << QStringList {"--model", "KVR9040-40", "--volume", "11"} << "volume";
    QTest::newRow("port not a number") << QStringList {"--model", "KVR9040-40", "--port", "abc"} << "--port";
    QTest::newRow("port too large") << QStringList {"--model", "KVR9040-40", "--port", "70000"} << "--port";
    QTest::newRow("bad address") << QStringList {"--model", "KVR9040-40", "--bind", "nowhere"} << "--bind";
    QTest::newRow("negative latency")
        << QStringList {"--model", "KVR9040-40", "--latency-ms", "-5"} << "--latency-ms";
}

void TestSimExecutable::refuses()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    QProcess process;
    process.start(program(), arguments);
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 2);
    QVERIFY(process.readAllStandardOutput().isEmpty());
    QString const error = QString::fromLocal8Bit(process.readAllStandardError());
    QVERIFY2(error.contains(message), qPrintable(error));
}

void TestSimExecutable::busyPort()
{
    QTcpServer holder;
    QVERIFY(holder.listen(QHostAddress::LocalHost, 0));
    QProcess process;
    process.start(program(), {"--model", "KVR9040-40", "--port", QString::number(holder.serverPort())});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 2);
    QVERIFY(!process.readAllStandardError().isEmpty());
}

QTEST_GUILESS_MAIN(TestSimExecutable)
#include "tst_sim_executable.moc"
