// The plug-in module as the host loads it: its metadata, its interface and its catalogue.

#include "widget/iequipment.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>
#include <QTest>

using zelt::widget::EquipmentViewInfo;
using zelt::widget::IEquipment;
using zelt::widget::ModelInfo;
using zelt::widget::UpdateInfo;

class TestKvr9000 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void metadata();
    void interface();
    void catalogueRows_data();
    void catalogueRows();
    void versionHistory_data();
    void versionHistory();

private:
    QPluginLoader m_loader;
    IEquipment* m_plugin = nullptr;
    ModelInfo m_catalogue;
};

void TestKvr9000::initTestCase()
{
    m_loader.setFileName(QStringLiteral(KVR9000_PLUGIN_FILE));
    QObject* instance = m_loader.instance();
    QVERIFY2(instance, qPrintable(m_loader.errorString()));
    m_plugin = qobject_cast<IEquipment*>(instance);
    QVERIFY(m_plugin);
    m_catalogue = m_plugin->modelInfo();
}

void TestKvr9000::cleanupTestCase()
{
    // The host keeps its plug-ins loaded for the life of the process; so does this test.
    m_plugin = nullptr;
}

void TestKvr9000::metadata()
{
    QJsonObject const meta = m_loader.metaData();
    QCOMPARE(meta.value("IID").toString(), QStringLiteral("org.qt-project.Qt.KVR9000"));
    QCOMPARE(meta.value("className").toString(), QStringLiteral("KVR9000"));
    QJsonObject const own = meta.value("MetaData").toObject();
    QCOMPARE(own.keys(), QStringList {QStringLiteral("Keys")});
    QVERIFY(own.value("Keys").isArray());
    QVERIFY(own.value("Keys").toArray().isEmpty());
}

void TestKvr9000::interface()
{
    QObject* object = m_loader.instance();
    QCOMPARE(object, static_cast<QObject*>(m_plugin));
    QCOMPARE(QString::fromLatin1(object->metaObject()->className()), QStringLiteral("KVR9000"));
    QCOMPARE(object->qt_metacast("kz.ns.zelt::widget::IEquipment"), static_cast<void*>(m_plugin));
    QVERIFY(object->qt_metacast("KVR9000"));
    QVERIFY(!object->qt_metacast("kz.ns.zelt::widget::Other"));
    // The catalogue is made anew on each call, always the same.
    QCOMPARE(m_plugin->modelInfo(), m_catalogue);
    QCOMPARE(m_catalogue.familyName, QStringLiteral("KVR9000"));
    QCOMPARE(m_catalogue.viewInfos.size(), 20);
}

void TestKvr9000::catalogueRows_data()
{
    QTest::addColumn<int>("row");
    char const* const models[] = {
        "KVR9040-40", "KVR9080-20",  "KVR9160-8",  "KVR9250-6",  "KVR9040-80", "KVR9080-40",  "KVR9160-16",
        "KVR9250-12", "KVR9040-120", "KVR9080-60", "KVR9160-24", "KVR9250-18", "KVR9040-200", "KVR9080-100",
        "KVR9160-40", "KVR9250-30",  "KVR9800-2",  "KVR9800-4",  "KVR9800-6",  "KVR9800-10",
    };
    int row = 0;
    for (char const* model : models)
        QTest::newRow(model) << row++;
}

void TestKvr9000::catalogueRows()
{
    QFETCH(int, row);
    QString const model = QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(row < m_catalogue.viewInfos.size());
    EquipmentViewInfo const& info = m_catalogue.viewInfos.at(row);
    QCOMPARE(info.model, model);
    QCOMPARE(info.displayName, model);
    QCOMPARE(info.imagePath, QStringLiteral(":images/KVR9000.png"));
}

void TestKvr9000::versionHistory_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QDate>("date");
    QTest::addColumn<QStringList>("notes");

    QTest::newRow("1.00") << 0 << QDate(2024, 8, 6) << QStringList();
    QTest::newRow("1.01") << 1 << QDate(2024, 12, 12)
                          << QStringList {"Change the Maximum Current of KVR9160 Seriales"};
    QTest::newRow("1.02") << 2 << QDate(2025, 3, 18) << QStringList {"Fix bugs"};
    QTest::newRow("1.03") << 3 << QDate(2025, 7, 28)
                          << QStringList {"Added models: KVR9800-2,KVR9800-4,KVR9800-6,KVR9800-10"};
}

void TestKvr9000::versionHistory()
{
    QFETCH(int, row);
    QFETCH(QDate, date);
    QFETCH(QStringList, notes);
    QCOMPARE(m_catalogue.updateInfos.size(), 4);
    UpdateInfo const& info = m_catalogue.updateInfos.at(row);
    QCOMPARE(info.version, QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(info.date, date);
    QCOMPARE(info.notes, notes);
}

QTEST_MAIN(TestKvr9000)
#include "tst_kvr9000.moc"
