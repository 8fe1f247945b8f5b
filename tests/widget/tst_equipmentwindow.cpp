#include "widget/equipmentwindow.h"
#include "widget/iequipment.h"

#include <QtTest>
#include <QtWidgets>

using namespace zelt::widget;

namespace {

class Family : public IEquipment
{
public:
    ModelInfo modelInfo() const override { return {"Fam", {{"M-1", "M-1", ""}, {"M-2", "M-2", ""}}, {}}; }
    EquipmentWindow* window(QSharedPointer<EquipmentInfo> const& info) override
    {
        last = info;
        return new EquipmentWindow(info);
    }
    QSharedPointer<EquipmentInfo> last;
};

} // namespace

class TestEquipmentWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void create_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("resource");
        QTest::addColumn<bool>("made");
        QString const socket = "TCPIP0::10.1.1.1::5025::SOCKET";
        QTest::newRow("known model, socket") << "M-2" << socket << true;
        QTest::newRow("unknown model") << "M-3" << socket << false;
        QTest::newRow("malformed resource") << "M-1" << QString("TCPIP0::10.1.1.1::SOCKET") << false;
    }

    void create()
    {
        QFETCH(QString, model);
        QFETCH(QString, resource);
        QFETCH(bool, made);
        Family family;
        std::unique_ptr<EquipmentWindow> window(family.create(model, resource));
        QCOMPARE(bool(window), made);
        QCOMPARE(bool(family.last), made);
        if (!made)
            return;
        QCOMPARE(window->equipment(), family.last);
        QCOMPARE(
            (QStringList {family.last->name, family.last->model, family.last->family, family.last->resource}),
            (QStringList {model, model, "Fam", resource}));
    }
};

QTEST_MAIN(TestEquipmentWindow)
#include "tst_equipmentwindow.moc"
