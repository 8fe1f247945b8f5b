// System::openFile hands existing files, and only those, to the desktop, and
// tells the user when it cannot.

#include "system/system.h"

#include "tests/common/dialogscript.h"
#include "tests/common/files.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
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
    void init()
    {
        m_handler.opened.clear();
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &m_handler, "open");
    }
    void cleanup() { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    void openFile_data()
    {
        QTest::addColumn<QString>("path"); // in a fresh folder that holds the file "export.csv"
        QTest::addColumn<bool>("handled"); // a program takes files; the offscreen desktop has none
        QTest::addColumn<bool>("opened");
        QTest::addColumn<QString>("warning"); // part of the warning the user sees; empty: none
        QTest::newRow("existing file") << "export.csv" << true << true << QString();
        QTest::newRow("no program for the type")
            << "export.csv" << false << false << "No program is registered to open files of type \"csv\"";
        QTest::newRow("missing") << "no-such-folder/no-such-file.png" << true << false << "not found";
    }

    void openFile()
    {
        QFETCH(QString, path);
        QFETCH(bool, handled);
        QFETCH(bool, opened);
        QFETCH(QString, warning);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(QStringLiteral("export.csv")), {}));
        QString const full = dir.filePath(path);
        if (!handled)
            QDesktopServices::unsetUrlHandler(QStringLiteral("file"));

        DialogScript boxes;
        QCOMPARE(System::openFile(full), opened);

        QCOMPARE(m_handler.opened, opened ? QList<QUrl> {QUrl::fromLocalFile(full)} : QList<QUrl>());
        QCOMPARE(boxes.shown.size(), warning.isEmpty() ? 0 : 1);
        QString const shown = boxes.shown.value(0);
        QVERIFY2(shown.contains(warning) && (warning.isEmpty() || shown.contains(QDir::cleanPath(full))),
                 qPrintable(shown));
    }

private:
    FileHandler m_handler;
};

QTEST_MAIN(TestSystem)
#include "tst_system.moc"
