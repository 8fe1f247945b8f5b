#include "widget/ccheckbox.h"

#include <QSignalSpy>
#include <QTest>

using zelt::widget::CCheckbox;

class TestCCheckbox : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void programmaticChangeIsSilent_data();
    void programmaticChangeIsSilent();
    void userChangeEmitsOnce_data();
    void userChangeEmitsOnce();
    void setCheckedFromReceiverStaysSilent();
    void slotBoundByNameSeesOnlyUser();
};

void TestCCheckbox::programmaticChangeIsSilent_data()
{
    QTest::addColumn<bool>("initial");
    QTest::addColumn<bool>("written");
    QTest::newRow("check") << false << true;
    QTest::newRow("uncheck") << true << false;
}

void TestCCheckbox::programmaticChangeIsSilent()
{
    QFETCH(bool, initial);
    QFETCH(bool, written);
    CCheckbox box;
    box.setChecked(initial);
    QSignalSpy user(&box, &CCheckbox::toggled);
    QSignalSpy any(&box, &QAbstractButton::toggled);
    box.setChecked(written);
    QCOMPARE(box.isChecked(), written);
    QCOMPARE(any.count(), 1); // the base signal still reports the change
    QCOMPARE(user.count(), 0);
    box.setCheckState(initial ? Qt::Checked : Qt::Unchecked);
    QCOMPARE(user.count(), 0);
}

void TestCCheckbox::userChangeEmitsOnce_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("mouse") << "mouse";
    QTest::newRow("space key") << "key";
    QTest::newRow("click()") << "click";
}

void TestCCheckbox::userChangeEmitsOnce()
{
    QFETCH(QString, how);
    CCheckbox box(QStringLiteral("OVP"));
    box.show();
    QVERIFY(QTest::qWaitForWindowExposed(&box));
    QSignalSpy user(&box, &CCheckbox::toggled);
    if (how == "mouse")
        QTest::mouseClick(&box, Qt::LeftButton, {}, box.rect().center());
    else if (how == "key")
        QTest::keyClick(&box, Qt::Key_Space);
    else
        box.click();
    QCOMPARE(user.count(), 1);
    QCOMPARE(user.at(0).at(0).toBool(), true);
    QVERIFY(box.isChecked());
    box.setChecked(false);
    QCOMPARE(user.count(), 1);
}

void TestCCheckbox::setCheckedFromReceiverStaysSilent()
{
    // A receiver that writes the box back (as a reading would) must not read as a
    // second edit.
    CCheckbox box;
    int calls = 0;
    connect(&box, &CCheckbox::toggled, this, [&](bool) {
        ++calls;
        box.setChecked(false);
    });
    box.click();
    QCOMPARE(calls, 1);
    QVERIFY(!box.isChecked());
}

class NamedReceiver : public QWidget
{
    Q_OBJECT
public:
    QList<bool> seen;
public Q_SLOTS:
    void on_cbOVP_toggled(bool checked) { seen.append(checked); }
};

void TestCCheckbox::slotBoundByNameSeesOnlyUser()
{
    // Forms bind on_<object>_toggled by name; that must reach the user-only signal.
    NamedReceiver form;
    auto* box = new CCheckbox(&form);
    box->setObjectName("cbOVP");
    QMetaObject::connectSlotsByName(&form);
    box->setChecked(true);
    QVERIFY(form.seen.isEmpty());
    box->click();
    QCOMPARE(form.seen, QList<bool> {false});
}

QTEST_MAIN(TestCCheckbox)
#include "tst_ccheckbox.moc"
