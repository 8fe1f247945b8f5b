#include "widget/widgethelper.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

using zelt::widget::WidgetHelper;

// A control panel: spin boxes and combo boxes at two depths, with a check box
// and a group box that match nothing.
class Panel : public QWidget
{
public:
    Panel()
    {
        spinV = new QDoubleSpinBox(this);
        spinV->setObjectName("spinV");
        auto* group = new QGroupBox(this);
        group->setObjectName("group");
        cbbMode = new QComboBox(group);
        cbbMode->setObjectName("cbbMode");
        check = new QCheckBox(group);
        check->setObjectName("check");
        spinDelay = new QSpinBox(group);
        spinDelay->setObjectName("spinDelay");
        slider = new QSlider(this);
        slider->setObjectName("slider");
    }
    QDoubleSpinBox* spinV;
    QComboBox* cbbMode;
    QCheckBox* check;
    QSpinBox* spinDelay;
    QSlider* slider;
};

static QStringList namesOf(QList<QObject*> const& objects)
{
    QStringList names;
    for (QObject* o : objects)
        names << o->objectName();
    return names;
}

class TestWidgetHelper : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void getChildren_data();
    void getChildren();
    void nullParent();
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
    QTest::newRow("exact class") << QStringList {"QSpinBox"} << true << QStringList {"spinDelay"};
    QTest::newRow("match above a match")
        << QStringList {"QGroupBox", "QComboBox"} << true << QStringList {"group", "cbbMode"};
    QTest::newRow("unknown class") << QStringList {"NoSuchClass"} << true << QStringList {};
    QTest::newRow("no names") << QStringList {} << true << QStringList {};
}

void TestWidgetHelper::getChildren()
{
    QFETCH(QStringList, classes);
    QFETCH(bool, recursive);
    QFETCH(QStringList, expected);
    Panel panel;
    QList<QObject*> const found = WidgetHelper::getChildren(&panel, classes, recursive);
    QCOMPARE(namesOf(found), expected);
    QVERIFY(!found.contains(&panel));
}

void TestWidgetHelper::nullParent()
{
    QVERIFY(WidgetHelper::getChildren(nullptr, {"QWidget"}, true).isEmpty());
}

QTEST_MAIN(TestWidgetHelper)
#include "tst_widgethelper.moc"
