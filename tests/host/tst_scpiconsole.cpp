// The SCPI console against a command queue on the in-process simulator.

#include "host/console/scpiconsole.h"

#include "measure/io/visa/visaio.h"
#include "measure/measureinst.h"
#include "measure/queryclient.h"
#include "simulator/simserver.h"
#include "tests/common/files.h"

#include <QtTest>
#include <QtWidgets>

using zelt::host::ScpiConsole;
using zelt::measure::MeasureInst;
using zelt::measure::QueryClient;

namespace {

QString failure(QueryClient::Failure kind)
{
    return QStringLiteral("! %1   (ms)").arg(QueryClient::failureText(kind));
}

} // namespace

class TestScpiConsole : public QObject
{
    Q_OBJECT

    kvrsim::SimServer m_server;
    MeasureInst* m_queue = nullptr;
    ScpiConsole* m_console = nullptr;
    QTemporaryDir m_dir;

    QPlainTextEdit* logView() const { return m_console->findChild<QPlainTextEdit*>("log"); }
    QLineEdit* lineEdit() const { return m_console->findChild<QLineEdit*>("line"); }

    bool open()
    {
        QSignalSpy started(m_queue, &MeasureInst::started);
        return m_queue->open() && started.wait();
    }

    // The log's sent lines, answers and failures without the console's notes, each
    // stamped with the time of day; the stamp and the round-trip time are cut away.
    QStringList traffic() const
    {
        static QRegularExpression const stamped(QStringLiteral(R"(^\d\d:\d\d:\d\d\.\d{3}  ([<>=!] .*)$)"));
        static QRegularExpression const roundTrip(QStringLiteral(R"(   \(\d+ ms\)$)"));
        QStringList lines;
        for (QString const& line : logView()->toPlainText().split(QLatin1Char('\n'))) {
            auto const match = stamped.match(line);
            if (match.hasMatch())
                lines << match.captured(1).replace(roundTrip, QStringLiteral("   (ms)"));
        }
        return lines;
    }

private Q_SLOTS:
    void init()
    {
        kvrsim::SimOptions options;
        options.noise = 0;
        QVERIFY2(m_server.start(options), qPrintable(m_server.errorString()));
        m_server.clearLog();
        m_queue = new MeasureInst(
            QSharedPointer<zelt::measure::io::visa::VisaIO>::create(m_server.resourceString()), true);
        m_queue->setWordTimeLimit(1000);
        m_console = new ScpiConsole(m_queue, QStringLiteral("KVR9040-40"));
        m_console->show();
    }

    void cleanup()
    {
        delete m_console;
        delete m_queue;
    }

    void typedLine_data()
    {
        QTest::addColumn<bool>("running");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("outcome");
        QTest::addColumn<bool>("reaches");

        QTest::newRow("query answered") << true << ":SOUR:VOLT?"
                                        << "< 0.100   (ms)" << true;
        QTest::newRow("setting") << true << ":SOUR:VOLT 12"
                                 << "= written   (ms)" << true;
        QTest::newRow("not polling") << false << ":SOUR:VOLT?" << failure(QueryClient::Failure::NotRunning)
                                     << false;
    }

    void typedLine()
    {
        QFETCH(bool, running);
        QFETCH(QString, line);
        QFETCH(QString, outcome);
        QFETCH(bool, reaches);
        if (running)
            QVERIFY(open());

        QTest::keyClicks(lineEdit(), line);
        QTest::keyClick(lineEdit(), Qt::Key_Return);
        QVERIFY(lineEdit()->text().isEmpty());
        QTRY_COMPARE(traffic(), (QStringList {"> " + line, outcome}));
        QTRY_COMPARE(m_server.receivedLines().contains(line), reaches);

        // A failure stands out from the line that asked.
        auto const colour = [](QTextBlock const& block) {
            return block.begin().fragment().charFormat().foreground();
        };
        QTextBlock const last = logView()->document()->lastBlock();
        QCOMPARE(colour(last) != colour(last.previous()), outcome.startsWith(QLatin1Char('!')));
    }

    void historyWalksLikeAShell_data()
    {
        QTest::addColumn<QString>("keys"); // U: up, D: down
        QTest::addColumn<QChar>("shown");
        QTest::newRow("no duplicate of the previous") << "UU" << QChar('A');
        QTest::newRow("stays at the oldest") << "UUU" << QChar('A');
        QTest::newRow("the line being typed kept") << "UUDD" << QChar('C');
        QTest::newRow("nothing below it") << "D" << QChar('C');
    }

    void historyWalksLikeAShell()
    {
        QFETCH(QString, keys);
        QFETCH(QChar, shown);
        for (char const* typed : {"A", "B", "B"}) {
            QTest::keyClicks(lineEdit(), typed);
            QTest::keyClick(lineEdit(), Qt::Key_Return);
        }
        QTest::keyClicks(lineEdit(), "C");
        for (QChar const key : keys)
            QTest::keyClick(lineEdit(), key == QLatin1Char('U') ? Qt::Key_Up : Qt::Key_Down);
        QCOMPARE(lineEdit()->text(), QString(shown));
    }

    void sendFile_data()
    {
        QTest::addColumn<bool>("running");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("stop"); // right after the file begins
        QTest::addColumn<QStringList>("traffic");
        QTest::addColumn<QString>("message"); // said in the log

        QTest::newRow("in order, each after the previous has ended")
            << true << QByteArray("# set and read back\n\n:SOUR:VOLT 12\r\n  \n:SOUR:VOLT?\n") << false
            << QStringList {"> :SOUR:VOLT 12", "= written   (ms)", "> :SOUR:VOLT?", "< 12.000   (ms)"}
            << "commands.scpi sent.";
        QTest::newRow("stopped while its first command runs")
            << true << QByteArray(":NO:SUCH?\n:SOUR:VOLT 3\n") << true
            << QStringList {"> :NO:SUCH?", failure(QueryClient::Failure::TimedOut)} << "stopped after 1 of 2";
        QTest::newRow("broken off when not polling")
            << false << QByteArray(":SOUR:VOLT 1\n:SOUR:VOLT 2\n") << false
            << QStringList {"> :SOUR:VOLT 1", failure(QueryClient::Failure::NotRunning)}
            << "broken off at command 1 of 2";
        QTest::newRow("not text") << true << QByteArray(":SOUR:VOLT 1\n\0\x01\x02", 16) << false
                                  << QStringList {} << "not a text file";
        QTest::newRow("too large") << true << QByteArray(":SOUR:VOLT 1\n").repeated(90000) << false
                                   << QStringList {} << "at most 1024 KiB";
    }

    void sendFile()
    {
        QFETCH(bool, running);
        QFETCH(QByteArray, content);
        QFETCH(bool, stop);
        QFETCH(QStringList, traffic);
        QFETCH(QString, message);
        if (running)
            QVERIFY(open());
        QVERIFY(m_dir.isValid());
        QString const path = m_dir.filePath(QStringLiteral("commands.scpi"));
        QVERIFY(writeFile(path, content));

        QSignalSpy finished(m_console, &ScpiConsole::fileFinished);
        bool const accepted = !traffic.isEmpty();
        QCOMPARE(m_console->sendFile(path), accepted);
        auto* const sendFileButton = m_console->findChild<QPushButton*>("buttonSendFile");
        QCOMPARE(sendFileButton->isEnabled(), !accepted);
        if (stop)
            QTest::mouseClick(m_console->findChild<QPushButton*>("buttonStop"), Qt::LeftButton);
        QTRY_COMPARE(this->traffic(), traffic);
        QTRY_COMPARE(finished.size(), accepted ? 1 : 0);
        QVERIFY(sendFileButton->isEnabled());
        QVERIFY2(logView()->toPlainText().contains(message), qPrintable(logView()->toPlainText()));
    }

    void followsTheQueueUntilItIsGone()
    {
        QVERIFY(open());
        QSignalSpy stopped(m_queue, &MeasureInst::stoped);
        QVERIFY(m_queue->close());
        QVERIFY(stopped.wait());
        QVERIFY(open());
        m_console->sendLine(QStringLiteral(":SOUR:VOLT?"));
        QTRY_COMPARE(traffic(), (QStringList {"> :SOUR:VOLT?", "< 0.100   (ms)"}));

        delete std::exchange(m_queue, nullptr);
        QVERIFY(!lineEdit()->isEnabled());
        QVERIFY(logView()->document()->lastBlock().text().contains(QLatin1String("closed")));
    }
};

QTEST_MAIN(TestScpiConsole)
#include "tst_scpiconsole.moc"
