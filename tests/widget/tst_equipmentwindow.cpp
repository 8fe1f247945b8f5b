#include "widget/equipmentwindow.h"
#include "widget/iequipment.h"

#include <QtTest>
#include <QtWidgets>

using namespace zelt::widget;

namespace {

// A window that refuses the first close, as an instrument window does while
// its driver is still running.
class RefusingWindow : public EquipmentWindow
{
public:
    using EquipmentWindow::EquipmentWindow;
    bool refuse = true;

protected:
    void closeEvent(QCloseEvent* event) override
    {
        if (std::exchange(refuse, false))
            event->ignore();
        EquipmentWindow::closeEvent(event);
    }
};

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
    void refusedCloseStaysOpen();
    void create_data();
    void create();
    void modelInfo();
};

void TestEquipmentWindow::refusedCloseStaysOpen()
{
    QMdiArea area;
    auto info = QSharedPointer<EquipmentInfo>::create();
    info->name = "bench";
    QPointer<RefusingWindow> window = new RefusingWindow(info, nullptr, {});
    area.addSubWindow(window);
    area.show();
    window->show();
    QCOMPARE(window->windowTitle(), QString("bench"));
    QSignalSpy closed(window.data(), &EquipmentWindow::closed);

    QVERIFY(!window->close());
    QVERIFY(window && window->isVisible());
    QCOMPARE(closed.count(), 0);
    QVERIFY(window->close());
    QCOMPARE(closed.count(), 1);
    QCOMPARE(closed.at(0).at(0).value<QSharedPointer<EquipmentInfo>>(), info);
    QTRY_VERIFY(!window); // deletes itself
}

void TestEquipmentWindow::create_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("resource");
    QTest::addColumn<bool>("made");
    QString const socket = "TCPIP0::10.1.1.1::5025::SOCKET";
    QTest::newRow("known model, socket") << "M-2" << socket << true;
    QTest::newRow("unknown model") << "M-3" << socket << false;
    QTest::newRow("malformed resource") << "M-1"
                                        << "TCPIP0::10.1.1.1::SOCKET" << false;
}

void TestEquipmentWindow::create()
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

void TestEquipmentWindow::modelInfo()
{
    ModelInfo info = Family().modelInfo();
    QVERIFY(info.latestVersion().isEmpty());
    info.setUpdateInfos({{QDate(2024, 8, 6), "1.00", {}}, {QDate(2025, 7, 28), "1.03", {"Added"}}});
    QCOMPARE(info.latestVersion(), QString("1.03"));
}

QTEST_MAIN(TestEquipmentWindow)
#include "tst_equipmentwindow.moc"
