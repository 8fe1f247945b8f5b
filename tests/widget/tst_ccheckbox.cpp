#include "widget/ccheckbox.h"

#include <QSignalSpy>
#include <QTest>

using zelt::widget::CCheckbox;

class TestCCheckbox : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void onlyUserChangesEmit();
};

void TestCCheckbox::onlyUserChangesEmit()
{
    CCheckbox box(QStringLiteral("OVP"));
    box.show();
    QVERIFY(QTest::qWaitForWindowExposed(&box));
    QSignalSpy user(&box, &CCheckbox::toggled);
    QSignalSpy any(&box, &QAbstractButton::toggled);
    box.setChecked(true);
    box.setCheckState(Qt::Unchecked);
    QCOMPARE(any.count(), 2); // the base signal still reports every change
    QCOMPARE(user.count(), 0);

    QTest::mouseClick(&box, Qt::LeftButton, {}, box.rect().center());
    QTest::keyClick(&box, Qt::Key_Space);
    QCOMPARE(user.count(), 2);
    QCOMPARE(user.at(0).at(0).toBool(), true);
    QCOMPARE(user.at(1).at(0).toBool(), false);
    // After a user's change, a written value is silent again, also from a receiver
    // (as a reading would write it back).
    box.setChecked(true);
    QCOMPARE(user.count(), 2);
    connect(&box, &CCheckbox::toggled, this, [&box] { box.setChecked(true); });
    box.click();
    QCOMPARE(user.count(), 3);
    QVERIFY(box.isChecked());
}

QTEST_MAIN(TestCCheckbox)
#include "tst_ccheckbox.moc"
