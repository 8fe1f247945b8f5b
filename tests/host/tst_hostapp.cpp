// The host executable, run as a user runs it.

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

Run runHost(QStringList const& arguments, int timeoutMs = 60000)
{
    QProcess host;
    host.start(QStringLiteral(ZELT_HOST_FILE), arguments);
    Run run;
    if (!host.waitForFinished(timeoutMs)) {
        host.kill();
        host.waitForFinished();
        run.err = QStringLiteral("timed out");
        return run;
    }
    run.exitCode = host.exitStatus() == QProcess::NormalExit ? host.exitCode() : -2;
    run.out = QString::fromLocal8Bit(host.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(host.readAllStandardError());
    return run;
}

} // namespace

class TestHostApp : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void listModels_data();
    void listModels();
    void listModelsFromOwnFolder();
    void badArguments_data();
    void badArguments();
    void screenshot_data();
    void screenshot();

private:
    QTemporaryDir m_plugins; // the demo and a plug-in of the wrong kind
    QTemporaryDir m_empty;
};

void TestHostApp::initTestCase()
{
    QVERIFY(m_plugins.isValid());
    for (QString const& file :
         {QStringLiteral(ZELT_DEMO_PLUGIN_FILE), QStringLiteral(ZELT_WRONG_PLUGIN_FILE)})
        QVERIFY(QFile::copy(file, m_plugins.filePath(QFileInfo(file).fileName())));
}

void TestHostApp::listModels_data()
{
    QTest::addColumn<bool>("withPlugins");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("demo and a wrong plug-in") << true << QStringList {"Demo\tKVR9040-40", "Demo\tKVR9800-2"};
    QTest::newRow("empty folder") << false << QStringList {};
}

void TestHostApp::listModels()
{
    QFETCH(bool, withPlugins);
    QFETCH(QStringList, lines);
    Run const run
        = runHost({"--list-models", "--plugin-dir", withPlugins ? m_plugins.path() : m_empty.path()});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out.split('\n', Qt::SkipEmptyParts), lines);
    if (withPlugins) // the refused plug-in is named with its reason
        QVERIFY2(run.err.contains("zelt_wronginterface") && run.err.contains("IEquipment"),
                 qPrintable(run.err));
}

void TestHostApp::listModelsFromOwnFolder()
{
    // Without --plugin-dir the host finds the build tree's plug-in folder by itself.
    if (!ZELT_DEMO_IN_PLUGIN_FOLDER)
        QSKIP("The stand-in plug-in is not in the plug-in folder of this build.");
    Run const run = runHost({"--list-models"});
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.split('\n').contains("Demo\tKVR9800-2"), qPrintable(run.out + run.err));
}

void TestHostApp::badArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("resource without model")
        << QStringList {"--resource", "TCPIP0::127.0.0.1::1::SOCKET"} << 2;
    QTest::newRow("model without resource") << QStringList {"--model", "KVR9800-2"} << 2;
    QTest::newRow("bad delay") << QStringList {"--delay", "soon", "--screenshot", "x.png"} << 2;
    QTest::newRow("unknown model") << QStringList {"--resource",   "TCPIP0::127.0.0.1::1::SOCKET",
                                                   "--model",      "NOPE-1",
                                                   "--screenshot", "x.png"}
                                   << 1;
    QTest::newRow("malformed resource")
        << QStringList {"--resource", "TCPIP0::127.0.0.1::SOCKET", "--model", "KVR9800-2", "--screenshot",
                        "x.png"}
        << 1;
}

void TestHostApp::badArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QTemporaryDir out;
    Run const run = runHost(QStringList {"--plugin-dir", m_plugins.path()} + arguments);
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY(!run.err.isEmpty());
    QVERIFY(!QFileInfo::exists("x.png"));
}

void TestHostApp::screenshot_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("resource, nobody listening") << QStringList {
        "--resource", "TCPIP0::127.0.0.1::1::SOCKET", "--model", "KVR9800-2", "--name", "bench"};
    if (ZELT_HAVE_SIMULATOR)
        QTest::newRow("simulated") << QStringList {"--simulate", "KVR9040-40"};
}

void TestHostApp::screenshot()
{
    QFETCH(QStringList, arguments);
    QTemporaryDir out;
    QString const file = out.filePath("host.png");
    Run const run = runHost(
        QStringList {"--plugin-dir", m_plugins.path(), "--screenshot", file, "--delay", "0.3"} + arguments);
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(run.out.trimmed(), file);
    QImage const image(file);
    QVERIFY(!image.isNull());
    QVERIFY(image.width() >= 640 && image.height() >= 400);
    // Not a blank picture: the sub-window and menus put many colours in it.
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 4) {
        for (int x = 0; x < image.width(); x += 4)
            colours.insert(image.pixel(x, y));
    }
    QVERIFY(colours.size() > 10);
    QFile::copy(file,
                QString(ZELT_TEST_OUTPUT_DIR "/host-%1.png").arg(QTest::currentDataTag()).replace(' ', '-'));
}

QTEST_MAIN(TestHostApp)
#include "tst_hostapp.moc"
