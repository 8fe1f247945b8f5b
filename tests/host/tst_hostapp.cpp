// The host executable, run as a user runs it.

#include <QtGui>
#include <QtTest>

namespace {

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

Run runHost(QStringList const& arguments,
            QProcessEnvironment const& environment = QProcessEnvironment::systemEnvironment())
{
    QProcess host;
    host.setProcessEnvironment(environment);
    host.start(QStringLiteral(ZELT_HOST_FILE), arguments);
    bool const finished = host.waitForFinished(60000);
    if (!finished) {
        host.kill();
        host.waitForFinished();
    }
    return {finished && host.exitStatus() == QProcess::NormalExit ? host.exitCode() : -1,
            QString::fromLocal8Bit(host.readAllStandardOutput()),
            QString::fromLocal8Bit(host.readAllStandardError())};
}

} // namespace

class TestHostApp : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_plugins; // the demo and a plug-in of the wrong kind
    QTemporaryDir m_empty;
    QTemporaryDir m_out;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_plugins.isValid());
        for (QString const& file :
             {QStringLiteral(ZELT_DEMO_PLUGIN_FILE), QStringLiteral(ZELT_WRONG_PLUGIN_FILE)})
            QVERIFY(QFile::copy(file, m_plugins.filePath(QFileInfo(file).fileName())));
    }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("out"); // patterns that the output and the errors match
        QTest::addColumn<QString>("err");
        QTest::addColumn<bool>("display"); // false: run with no display at all
        auto row = [](char const* tag, QStringList const& arguments, int exitCode, char const* out,
                      char const* err = "", bool display = true) {
            QTest::newRow(tag) << arguments << exitCode << QString(out) << QString(err) << display;
        };
        QStringList const plugins {"--plugin-dir", m_plugins.path()};
        QStringList const resource {"--resource", "TCPIP0::127.0.0.1::1::SOCKET"};
        QStringList const bad {"--screenshot", "x.png"};
        // A picture of the main window with its sub-window, once the instrument's window is open.
        QStringList const shot = {"--screenshot", m_out.filePath("host.png"), "--delay", "0.3"};
        // The refused plug-in is named with its reason.
        row("list, demo and a wrong plug-in, no display", plugins + QStringList {"--list-models"}, 0,
            "^Demo\tKVR9040-40\nDemo\tKVR9800-2\n$", "zelt_wronginterface.*IEquipment", false);
        row("help, no display", {"--help"}, 0, "--list-models", "", false);
        row("version, no display", {"--version"}, 0, "^zelt-host \\d", "", false);
        row("list, empty folder", {"--list-models", "--plugin-dir", m_empty.path()}, 0, "^$");
        // Without --plugin-dir the host finds the build tree's plug-in folder by itself.
        if (ZELT_DEMO_IN_PLUGIN_FOLDER)
            row("list, own folder", {"--list-models"}, 0, "Demo\tKVR9800-2\n");
        row("resource without model", plugins + resource, 2, "^$", "--model");
        row("model without resource", plugins + QStringList {"--model", "KVR9800-2"}, 2, "^$", "--resource");
        row("bad delay", plugins + QStringList {"--delay", "soon"} + bad, 2, "^$", "--delay");
        row("unknown model", plugins + resource + QStringList {"--model", "NOPE-1"} + bad, 1, "^$", "NOPE-1");
        row("malformed resource",
            plugins + QStringList {"--resource", "TCPIP0::127.0.0.1::SOCKET", "--model", "KVR9800-2"} + bad,
            1, "^$", "TCPIP0::127.0.0.1::SOCKET");
        row("screenshot, nobody listening",
            plugins + shot + resource + QStringList {"--model", "KVR9800-2", "--name", "bench"}, 0,
            "host.png\n$");
        // The box that says no plug-in is loaded must not keep the run from ending.
        row("screenshot, no plug-in", QStringList {"--plugin-dir", m_empty.path()} + shot, 0, "host.png\n$");
        // Simulated units come from the family's own simulator plug-in; the demo family has none.
        row("simulated, family without a simulator", plugins + QStringList {"--simulate", "KVR9040-40"} + bad,
            1, "^$", "Demo");
        if (ZELT_HAVE_SIMULATOR)
            row("screenshot, simulated",
                QStringList {"--plugin-dir", ZELT_KVR9000_PLUGIN_DIR, "--simulate", "KVR9040-40"} + shot, 0,
                "host.png\n$");
    }

    void commandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, out);
        QFETCH(QString, err);
        QFETCH(bool, display);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        QStringList const noDisplay {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"};
        for (QString const& name : display ? QStringList() : noDisplay)
            environment.remove(name);
        QFile::remove(m_out.filePath("host.png"));
        Run const run = runHost(arguments, environment);
        QVERIFY2(run.exitCode == exitCode, qPrintable(QString::number(run.exitCode) + ": " + run.err));
        QVERIFY2(run.out.contains(QRegularExpression(out)), qPrintable(run.out));
        QVERIFY2(run.err.contains(QRegularExpression(err)), qPrintable(run.err));
        QVERIFY(!QFileInfo::exists("x.png"));
        if (!arguments.contains(m_out.filePath("host.png")))
            return;
        QImage const image(m_out.filePath("host.png"));
        QVERIFY(image.width() >= 640 && image.height() >= 400);
        // Not a blank picture: the sub-window and menus put many colours in it.
        QSet<QRgb> colours;
        for (int y = 0; y < image.height(); y += 4) {
            for (int x = 0; x < image.width(); x += 4)
                colours.insert(image.pixel(x, y));
        }
        QVERIFY(colours.size() > 10);
    }

    void quitSavesWindowSettings()
    {
        if (!ZELT_HAVE_SIMULATOR)
            QSKIP("Built without the simulator.");
        QString const group = QStringLiteral("KVR9040-40/");
        QByteArray const rows = QByteArray::fromHex("00000002 3ff0000000000000 3fb999999999999a"
                                                    "4024000000000000 3f847ae147ae147b");
        QSettings settings(QStringLiteral("Zelt"), QStringLiteral("zelt-host"));
        settings.clear();
        settings.setValue(group + "QuickSettings", rows);
        // Twice: what a window loaded is what it saves when the host quits, run after run.
        for (int run = 0; run < 2; ++run) {
            settings.remove(group + "SamplePoints");
            settings.sync();
            Run const result = runHost({"--plugin-dir", ZELT_KVR9000_PLUGIN_DIR, "--simulate", "KVR9040-40",
                                        "--screenshot", m_out.filePath("quit.png"), "--delay", "0.3"});
            QVERIFY2(result.exitCode == 0, qPrintable(result.err));
            settings.sync();
            QCOMPARE(settings.value(group + "SamplePoints").toInt(), 9999);
            QCOMPARE(settings.value(group + "QuickSettings").toByteArray(), rows);
        }
    }
};

QTEST_MAIN(TestHostApp)
#include "tst_hostapp.moc"
