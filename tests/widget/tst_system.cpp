// System::openFile hands existing files, and only those, to the desktop.

#include "system/system.h"

#include <QDesktopServices>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using zelt::system::System;

// Stands in for the desktop's file handler.
class FileHandler : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;

public Q_SLOTS:
    void open(QUrl const& url) { opened.append(url); }
};

class TestSystem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QDesktopServices::setUrlHandler(QStringLiteral("file"), &m_handler, "open"); }
    void cleanupTestCase() { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    void init() { m_handler.opened.clear(); }

    void openFile_data()
    {
        QTest::addColumn<QString>("path"); // in a fresh folder that holds the file "export.csv"
        QTest::addColumn<bool>("opened");
        QTest::newRow("existing file") << "export.csv" << true;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("missing") << "no-such-folder/no-such-file.png" << false;
        QTest::newRow("folder") << "." << false;
    }

    void openFile()
    {
        QFETCH(QString, path);
        QFETCH(bool, opened);
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("export.csv")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QString const full = path.isEmpty() ? path : dir.filePath(path);
        QCOMPARE(System::openFile(full), opened);
        QCOMPARE(m_handler.opened, opened ? QList<QUrl> {QUrl::fromLocalFile(full)} : QList<QUrl>());
    }

private:
    FileHandler m_handler;
};

QTEST_MAIN(TestSystem)
#include "tst_system.moc"
