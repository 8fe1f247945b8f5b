#include "widget/widgethelper.h"

#include <QtTest>
#include <QtWidgets>

using zelt::widget::WidgetHelper;

namespace {

template<typename T> T* make(QWidget* parent, char const* name)
{
    auto* widget = new T(parent);
    widget->setObjectName(name);
    return widget;
}

} // namespace

class TestWidgetHelper : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void getChildren_data();
    void getChildren();
};

void TestWidgetHelper::getChildren_data()
{
    QTest::addColumn<QStringList>("classes");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<QStringList>("expected");
    QStringList const controls {"QAbstractSpinBox", "QComboBox", "QSlider"};
    QTest::newRow("controls, all descendants")
        << controls << true << QStringList {"spinV", "cbbMode", "spinDelay", "slider"};
    QTest::newRow("controls, direct children") << controls << false << QStringList {"spinV", "slider"};
    QTest::newRow("base class matches derived")
        << QStringList {"QAbstractButton"} << true << QStringList {"check"};
    QTest::newRow("match above a match")
        << QStringList {"QGroupBox", "QComboBox"} << true << QStringList {"group", "cbbMode"};
    QTest::newRow("unknown class") << QStringList {"NoSuchClass"} << true << QStringList {};
}

void TestWidgetHelper::getChildren()
{
    QFETCH(QStringList, classes);
    QFETCH(bool, recursive);
    QFETCH(QStringList, expected);
    // A control panel: controls at two depths, a check box and a group box among them.
    QWidget panel;
    make<QDoubleSpinBox>(&panel, "spinV");
    auto* group = make<QGroupBox>(&panel, "group");
    make<QComboBox>(group, "cbbMode");
    make<QCheckBox>(group, "check");
    make<QSpinBox>(group, "spinDelay");
    make<QSlider>(&panel, "slider");

    QStringList found;
    for (QObject* object : WidgetHelper::getChildren(&panel, classes, recursive))
        found << object->objectName();
    QCOMPARE(found, expected);
    QVERIFY(WidgetHelper::getChildren(nullptr, classes, recursive).isEmpty());
}

QTEST_MAIN(TestWidgetHelper)
#include "tst_widgethelper.moc"
