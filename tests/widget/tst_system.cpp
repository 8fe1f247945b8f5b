// System::openFile hands existing files, and only those, to the desktop, and
// tells the user when it cannot.

#include "system/system.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
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
        QFile file(dir.filePath(QStringLiteral("export.csv")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QString const full = path.isEmpty() ? path : dir.filePath(path);
        if (!handled)
            QDesktopServices::unsetUrlHandler(QStringLiteral("file"));

        // Answers the warning as the user would, keeping its text.
        QString shown;
        QTimer answer;
        connect(&answer, &QTimer::timeout, this, [&shown] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                shown = box->text();
                box->done(QMessageBox::Ok);
            }
        });
        answer.start(10);
        QCOMPARE(System::openFile(full), opened);
        answer.stop();

        QCOMPARE(m_handler.opened, opened ? QList<QUrl> {QUrl::fromLocalFile(full)} : QList<QUrl>());
        QCOMPARE(shown.isEmpty(), warning.isEmpty());
        if (!warning.isEmpty())
            QVERIFY2(shown.contains(warning) && shown.contains(QDir::cleanPath(full)), qPrintable(shown));
    }

private:
    FileHandler m_handler;
};

QTEST_MAIN(TestSystem)
#include "tst_system.moc"
