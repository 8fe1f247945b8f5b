// The plug-in module as the host loads it: its metadata, its interface and its models.

#include "widget/iequipment.h"

#include <QJsonObject>
#include <QPluginLoader>
#include <QTest>

using zelt::widget::IEquipment;

class TestKvr9000 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_loader.setFileName(QStringLiteral(KVR9000_PLUGIN_FILE));
        QObject* instance = m_loader.instance();
        QVERIFY2(instance, qPrintable(m_loader.errorString()));
        auto* plugin = qobject_cast<IEquipment*>(instance);
        QVERIFY(plugin);
        m_catalogue = plugin->modelInfo();
    }

    void metadata()
    {
        QJsonObject const meta = m_loader.metaData();
        QCOMPARE(meta.value("IID").toString(), QStringLiteral("org.qt-project.Qt.KVR9000"));
        QCOMPARE(meta.value("className").toString(), QStringLiteral("KVR9000"));
    }

    void catalogue()
    {
        QStringList const models {"KVR9040-40", "KVR9080-20", "KVR9160-8",   "KVR9250-6",   "KVR9040-80",
                                  "KVR9080-40", "KVR9160-16", "KVR9250-12",  "KVR9040-120", "KVR9080-60",
                                  "KVR9160-24", "KVR9250-18", "KVR9040-200", "KVR9080-100", "KVR9160-40",
                                  "KVR9250-30", "KVR9800-2",  "KVR9800-4",   "KVR9800-6",   "KVR9800-10"};
        QCOMPARE(m_catalogue.familyName, QStringLiteral("KVR9000"));
        QStringList listed;
        for (auto const& info : m_catalogue.viewInfos) {
            listed << info.model;
            QCOMPARE(info.displayName, info.model);
            QCOMPARE(info.imagePath, QStringLiteral(":images/KVR9000.png"));
        }
        QCOMPARE(listed, models);
    }

private:
    // The host keeps its plug-ins loaded for the life of the process; so does this test.
    QPluginLoader m_loader;
    zelt::widget::ModelInfo m_catalogue;
};

QTEST_MAIN(TestKvr9000)
#include "tst_kvr9000.moc"
