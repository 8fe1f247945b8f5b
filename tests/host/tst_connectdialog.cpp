#include "host/connectdialog.h"

#include "measure/io/visa/visaequipinfo.h"
#include "measure/io/visa/visaio.h"
#include "measure/io/visa/visaresource.h"

#include <QtTest>
#include <QtWidgets>

using zelt::host::ConnectDialog;
using namespace zelt::measure::io;

class TestConnectDialog : public QObject
{
    Q_OBJECT
    // Types into the form as a user does; OK is pressed with a click on a shown dialog.
    static void fill(ConnectDialog& dialog, QString const& model, QString const& name,
                     QString const& resource)
    {
        dialog.select(model, false);
        dialog.findChild<QLineEdit*>("editName")->clear();
        QTest::keyClicks(dialog.findChild<QLineEdit*>("editName"), name);
        setResource(dialog, resource);
    }
    static void setResource(ConnectDialog& dialog, QString const& resource)
    {
        QLineEdit* edit = dialog.findChild<QComboBox*>("cbbResource")->lineEdit();
        edit->clear();
        QTest::keyClicks(edit, resource);
    }
    static void pressOk(ConnectDialog& dialog)
    {
        QTest::mouseClick(dialog.findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    }

    QList<zelt::widget::ModelInfo> m_families;
    QTemporaryDir m_pictures;

private Q_SLOTS:
    void init() { QSettings().clear(); }
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setOrganizationName("Zelt");
        QCoreApplication::setApplicationName("tst_connectdialog");
        QImage picture(64, 40, QImage::Format_RGB32);
        picture.fill(Qt::darkGray);
        QVERIFY(picture.save(m_pictures.filePath("unit.png")));

        QString const unit = m_pictures.filePath("unit.png");
        m_families = {{"Alpha",
                       {{"A-1", "Alpha One", unit}, {"A-2", "Alpha Two", m_pictures.filePath("missing.png")}},
                       {}},
                      {"Beta", {{"B-9", "Beta Nine", unit}}, {}}};
    }

    void socketResource_data()
    {
        QTest::addColumn<QString>("malformed");
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("resource");
        QTest::addColumn<QString>("family");
        QTest::addColumn<QString>("expectedName");
        auto row = [](char const* tag, QString malformed, QString model, QString name, QString resource,
                      QString family, QString expectedName) {
            QTest::newRow(tag) << malformed << model << name << resource << family << expectedName;
        };
        row("empty first, name trimmed", "", "A-1", "  bench 3 ", "TCPIP0::192.168.1.5::5025::SOCKET",
            "Alpha", "bench 3");
        row("no port first, second family, no name", "TCPIP0::192.168.1.5::SOCKET", "B-9", "",
            "  tcpip::psu.lab::40001::socket ", "Beta", "B-9");
    }

    void socketResource()
    {
        QFETCH(QString, malformed);
        QFETCH(QString, model);
        QFETCH(QString, name);
        QFETCH(QString, resource);
        QFETCH(QString, family);
        QFETCH(QString, expectedName);
        ConnectDialog dialog(m_families);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));

        // A malformed resource is refused with the reason, and nothing is remembered.
        fill(dialog, model, name, malformed);
        pressOk(dialog);
        QVERIFY(dialog.isVisible());
        QString const message = dialog.findChild<QLabel*>("lblError")->text();
        QString const why = visa::VisaResource::parse(malformed).error;
        QVERIFY2(!message.isEmpty() && (malformed.isEmpty() || message.contains(why)),
                 qPrintable(message + " / " + why));
        QVERIFY(ConnectDialog::recentResources().isEmpty());

        // Correcting the text clears the message, and OK then goes through.
        setResource(dialog, resource);
        QVERIFY(dialog.findChild<QLabel*>("lblError")->text().isEmpty());
        pressOk(dialog);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        auto const info = dialog.equipmentInfo();
        QVERIFY(info);
        QCOMPARE((QStringList {info->name, info->family, info->model, info->resource}),
                 (QStringList {expectedName, family, model, resource.trimmed()}));
        auto const visa = info->ioInfo.dynamicCast<visa::VisaEquipInfo>();
        auto* io = visa ? qobject_cast<visa::VisaIO*>(visa->io.data()) : nullptr;
        QVERIFY(io && !io->isOpen());
        QCOMPARE(io->resource(), resource.trimmed());
        QCOMPARE(io->parsedResource().kind, visa::VisaResource::Kind::TcpipSocket);
    }

    void simulated()
    {
        ConnectDialog dialog(m_families);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        fill(dialog, "B-9", "", "garbage");
        auto* check = dialog.findChild<QCheckBox*>("checkSimulated");
        QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(5, check->height() / 2));
        QVERIFY(check->isChecked());
        QVERIFY(!dialog.findChild<QComboBox*>("cbbResource")->isEnabled());
        pressOk(dialog); // the resource text doesn't matter for the simulator
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        auto const request = dialog.request();
        QVERIFY(request.simulated);
        QCOMPARE(request.family, QString("Beta"));
        QCOMPARE(request.model, QString("B-9"));
        QVERIFY(request.resource.isEmpty());
        QVERIFY(!dialog.equipmentInfo());
        QVERIFY(ConnectDialog::recentResources().isEmpty());
    }

    void foundResources_data()
    {
        QTest::addColumn<QStringList>("recent");
        QTest::addColumn<QStringList>("found");
        QString const serial = QStringLiteral("ASRL/dev/ttyUSB0::INSTR");
        QString const usb = QStringLiteral("USB0::0x1AB1::0x04CE::KVR404::INSTR");
        QTest::newRow("none found") << QStringList() << QStringList();
        QTest::newRow("found, none used yet") << QStringList() << QStringList {serial, usb};
        QTest::newRow("found below the recent")
            << QStringList {"TCPIP0::10.0.0.1::5025::SOCKET"} << QStringList {serial, usb};
    }

    void foundResources()
    {
        QFETCH(QStringList, recent);
        QFETCH(QStringList, found);
        QSettings().setValue("Connect/RecentResources", recent);
        QStringList now = found;
        ConnectDialog dialog(m_families, nullptr, [&now] { return now; });
        auto* combo = dialog.findChild<QComboBox*>("cbbResource");
        auto offered = [combo] {
            QStringList texts;
            for (int i = 0; i < combo->count(); ++i)
                texts << combo->itemText(i);
            return texts;
        };
        // Recent ones first, then a separator (its text is empty) when both are there.
        auto expected = [&recent](QStringList const& found) {
            return recent + (recent.isEmpty() || found.isEmpty() ? QStringList() : QStringList {QString()})
                + found;
        };
        QCOMPARE(offered(), expected(found));
        QCOMPARE(combo->currentText(), recent.value(0)); // nothing found is filled in unasked

        // Picking a found one fills the field; without any, typing works as ever.
        QString const resource
            = found.isEmpty() ? QStringLiteral("TCPIP0::10.0.0.9::5025::SOCKET") : found.last();
        if (found.isEmpty())
            setResource(dialog, resource);
        else
            combo->setCurrentIndex(combo->findText(resource));
        QCOMPARE(dialog.request().resource, resource);

        // Refresh replaces what was found and keeps the text in the field.
        now = QStringList {QStringLiteral("ASRL/dev/ttyACM3::INSTR")};
        QTest::mouseClick(dialog.findChild<QToolButton*>("btnRefresh"), Qt::LeftButton);
        QCOMPARE(offered(), expected(now));
        QCOMPARE(combo->currentText(), resource);

        dialog.accept();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(ConnectDialog::recentResources().value(0), resource);
    }

    void modelsAndPicture()
    {
        ConnectDialog dialog(m_families);
        auto* family = dialog.findChild<QComboBox*>("cbbFamily");
        auto* model = dialog.findChild<QComboBox*>("cbbModel");
        auto* picture = dialog.findChild<QLabel*>("lblPicture");
        QCOMPARE(family->count(), 2);
        QCOMPARE(model->count(), 2);
        QCOMPARE(model->itemText(0), QString("Alpha One"));
        QVERIFY(!picture->pixmap().isNull());

        model->setCurrentIndex(1); // its picture is missing
        QVERIFY(picture->pixmap().isNull());
        QVERIFY(!picture->text().isEmpty());
        QCOMPARE(dialog.request().model, QString("A-2"));

        family->setCurrentIndex(1);
        QCOMPARE(model->count(), 1);
        QCOMPARE(dialog.request().model, QString("B-9"));
        QVERIFY(!picture->pixmap().isNull());
    }
};

QTEST_MAIN(TestConnectDialog)
#include "tst_connectdialog.moc"
