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

    void existingFileReachesTheDesktop()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("export.csv"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();

        QVERIFY(System::openFile(path));
        QCOMPARE(m_handler.opened, QList<QUrl>({QUrl::fromLocalFile(path)}));
    }

    void nothingElseDoes_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("empty") << QString();
        QTest::newRow("missing") << QStringLiteral("no-such-folder/no-such-file.png");
        QTest::newRow("folder") << QDir::tempPath();
    }

    void nothingElseDoes()
    {
        QFETCH(QString, path);
        QVERIFY(!System::openFile(path));
        QVERIFY(m_handler.opened.isEmpty());
    }

private:
    FileHandler m_handler;
};

QTEST_MAIN(TestSystem)
#include "tst_system.moc"
