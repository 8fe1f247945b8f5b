#include "host/pluginmanager.h"

#include "tests/common/files.h"
#include "widget/iequipment.h"

#include <QtTest>

using zelt::host::PluginManager;

class TestPluginManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void load_data()
    {
        // Files put into the folder, by the name they get there ("" for a text file).
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("families");
        QTest::addColumn<QStringList>("failedNames");
        QTest::addColumn<QString>("reasonPart");
        QString const demo = ZELT_DEMO_PLUGIN_FILE;
        QString const wrong = ZELT_WRONG_PLUGIN_FILE;
        QString const notPlugin = ZELT_NOT_A_PLUGIN_FILE;
        auto name = [](QString const& file) {
            return QFileInfo(file).fileName();
        };

        QTest::newRow("good") << QStringList {demo} << QStringList {"Demo"} << QStringList {} << QString();
        QTest::newRow("wrong interface") << QStringList {wrong} << QStringList {} << QStringList {name(wrong)}
                                         << "kz.ns.zelt::widget::IEquipment";
        QTest::newRow("garbage named like a library")
            << QStringList {"libgarbage.so"} << QStringList {} << QStringList {"libgarbage.so"} << QString();
        QTest::newRow("mixed folder, other files ignored")
            << QStringList {"readme.txt", wrong, demo, notPlugin} << QStringList {"Demo"}
            << QStringList {name(notPlugin), name(wrong)} << QString();
    }

    void load()
    {
        QFETCH(QStringList, files);
        QFETCH(QStringList, families);
        QFETCH(QStringList, failedNames);
        QFETCH(QString, reasonPart);

        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        for (QString const& file : files) {
            QString const target = dir.filePath(QFileInfo(file).fileName());
            if (QFileInfo(file).isAbsolute())
                QVERIFY(QFile::copy(file, target));
            else
                QVERIFY(writeFile(target, "not a library\n"));
        }
        PluginManager manager;
        QCOMPARE(manager.loadFolder(dir.path()), families.size());
        QStringList loaded;
        for (auto const& plugin : manager.plugins())
            loaded << (plugin.equipment ? plugin.modelInfo.familyName : QString());
        QCOMPARE(loaded, families);

        QStringList failed;
        for (auto const& failure : manager.failures()) {
            failed << QFileInfo(failure.path).fileName();
            QVERIFY2(!failure.reason.isEmpty(), qPrintable(failure.path));
            if (!reasonPart.isEmpty())
                QVERIFY2(failure.reason.contains(reasonPart), qPrintable(failure.reason));
        }
        QCOMPARE(failed, failedNames);
    }
};

QTEST_MAIN(TestPluginManager)
#include "tst_pluginmanager.moc"
