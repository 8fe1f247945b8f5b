// The SCPI console against a polling queue on the in-process simulator.

#include "host/console/scpiconsole.h"

#include "measure/io/visa/visaio.h"
#include "measure/measureinst.h"
#include "measure/queryclient.h"
#include "measure/wordbox.h"
#include "simulator/simserver.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

using zelt::host::ScpiConsole;
using zelt::measure::MeasureInst;
using zelt::measure::QueryClient;

namespace {

constexpr auto kPoll = ":MEAS:ALL?";

// Polls one reading, as a driver's ring does, so that the console's answers have the
// polling's to be told apart from.
class PollingQueue : public MeasureInst
{
public:
    explicit PollingQueue(QString const& resource)
        : MeasureInst(QSharedPointer<zelt::measure::io::visa::VisaIO>::create(resource), true)
    {
    }
    QList<QSharedPointer<zelt::measure::WordBox>> initCommand() override
    {
        return {zelt::measure::WordBoxFactory::makeCyclic(makeWord(QString::fromLatin1(kPoll), 2000))};
    }
};

QString failure(QueryClient::Failure kind)
{
    return QStringLiteral("! %1   (ms)").arg(QueryClient::failureText(kind));
}

} // namespace

class TestScpiConsole : public QObject
{
    Q_OBJECT

    kvrsim::SimServer m_server;
    PollingQueue* m_queue = nullptr;
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

    // What reached the instrument beside the polling and the queue's resynchronisation.
    QStringList received() const
    {
        QStringList lines = m_server.receivedLines();
        lines.removeIf([](QString const& line) {
            return line == QLatin1String(kPoll) || line == QLatin1String("*IDN?");
        });
        return lines;
    }

    QBrush colourOfLine(int block) const
    {
        return logView()->document()->findBlockByNumber(block).begin().fragment().charFormat().foreground();
    }

private Q_SLOTS:
    void initTestCase()
    {
        kvrsim::SimOptions options;
        options.latencyMs = 0;
        options.noise = 0;
        QVERIFY2(m_server.start(options), qPrintable(m_server.errorString()));
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        QVERIFY(m_server.start(m_server.options()));
        m_server.clearLog();
        m_queue = new PollingQueue(m_server.resourceString());
        m_queue->setInterval(10);
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
        QTest::newRow("query never answered")
            << true << ":NO:SUCH?" << failure(QueryClient::Failure::TimedOut) << true;
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
        QCOMPARE(received().contains(line), reaches);

        // A failure stands out from the traffic around it.
        int const last = logView()->blockCount() - 1;
        QCOMPARE(colourOfLine(last) != colourOfLine(last - 1), outcome.startsWith(QLatin1Char('!')));
    }

    void historyWalksLikeAShell_data()
    {
        QTest::addColumn<QString>("keys"); // U: up, D: down
        QTest::addColumn<QString>("shown");

        QTest::newRow("newest first") << "U"
                                      << "B";
        QTest::newRow("to the oldest") << "UU"
                                       << "A";
        QTest::newRow("stays at the oldest") << "UUU"
                                             << "A";
        QTest::newRow("back down") << "UUD"
                                   << "B";
        QTest::newRow("the line being typed kept") << "UUDD"
                                                   << "C";
        QTest::newRow("nothing below it") << "D"
                                          << "C";
    }

    void historyWalksLikeAShell()
    {
        QFETCH(QString, keys);
        QFETCH(QString, shown);
        for (char const* typed : {"A", "B", "B"}) {
            QTest::keyClicks(lineEdit(), typed);
            QTest::keyClick(lineEdit(), Qt::Key_Return);
        }
        QCOMPARE(m_console->history(), (QStringList {"A", "B"}));
        QTest::keyClicks(lineEdit(), "C");
        for (QChar const key : keys)
            QTest::keyClick(lineEdit(), key == QLatin1Char('U') ? Qt::Key_Up : Qt::Key_Down);
        QCOMPARE(lineEdit()->text(), shown);
    }

    void historyKeepsTheNewest()
    {
        int const lines = ScpiConsole::kHistoryLimit + 5;
        for (int i = 0; i < lines; ++i)
            m_console->sendLine(QStringLiteral("*CLS %1").arg(i));
        QCOMPARE(m_console->history().size(), ScpiConsole::kHistoryLimit);
        QCOMPARE(m_console->history().constFirst(), QStringLiteral("*CLS 5"));
    }

    void sendFile_data()
    {
        QTest::addColumn<bool>("running");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("stop"); // right after the file begins
        QTest::addColumn<QStringList>("traffic");
        QTest::addColumn<QStringList>("reached");
        QTest::addColumn<QString>("message"); // said in the log

        QString const answered = QStringLiteral("< 12.000   (ms)");
        QTest::newRow("in order, each after the previous has ended")
            << true
            << QByteArray("# set and read back\n\n:SOUR:VOLT 12\r\n  \n:SOUR:VOLT?\n:NO:SUCH?\n:SOUR:VOLT?")
            << false << QStringList {"> :SOUR:VOLT 12", "= written   (ms)",
                                     "> :SOUR:VOLT?",   answered,
                                     "> :NO:SUCH?",     failure(QueryClient::Failure::TimedOut),
                                     "> :SOUR:VOLT?",   answered}
            << QStringList {":SOUR:VOLT 12", ":SOUR:VOLT?", ":NO:SUCH?", ":SOUR:VOLT?"}
            << "commands.scpi sent.";
        QTest::newRow("stopped while its first command runs")
            << true << QByteArray(":NO:SUCH?\n:SOUR:VOLT 3\n") << true
            << QStringList {"> :NO:SUCH?", failure(QueryClient::Failure::TimedOut)}
            << QStringList {":NO:SUCH?"} << "stopped after 1 of 2";
        QTest::newRow("broken off when not polling")
            << false << QByteArray(":SOUR:VOLT 1\n:SOUR:VOLT 2\n") << false
            << QStringList {"> :SOUR:VOLT 1", failure(QueryClient::Failure::NotRunning)} << QStringList {}
            << "broken off at command 1 of 2";
        QTest::newRow("not text") << true << QByteArray(":SOUR:VOLT 1\n\0\x01\x02", 16) << false
                                  << QStringList {} << QStringList {} << "not a text file";
        QTest::newRow("too large") << true << QByteArray(":SOUR:VOLT 1\n").repeated(90000) << false
                                   << QStringList {} << QStringList {} << "at most 1024 KiB";
    }

    void sendFile()
    {
        QFETCH(bool, running);
        QFETCH(QByteArray, content);
        QFETCH(bool, stop);
        QFETCH(QStringList, traffic);
        QFETCH(QStringList, reached);
        QFETCH(QString, message);
        if (running)
            QVERIFY(open());
        QString const path = m_dir.filePath(QStringLiteral("commands.scpi"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
        file.close();

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
        QCOMPARE(received(), reached);
        QVERIFY2(logView()->toPlainText().contains(message), qPrintable(logView()->toPlainText()));
        QVERIFY(m_console->history().isEmpty());
    }

    void followsTheQueueUntilItIsGone()
    {
        QVERIFY(open());
        QSignalSpy stopped(m_queue, &MeasureInst::stoped);
        QVERIFY(m_queue->close());
        QVERIFY(stopped.wait());
        m_console->sendLine(QStringLiteral(":SOUR:VOLT?"));
        QVERIFY(open());
        m_console->sendLine(QStringLiteral(":SOUR:VOLT?"));
        QTRY_COMPARE(traffic(),
                     (QStringList {"> :SOUR:VOLT?", failure(QueryClient::Failure::NotRunning),
                                   "> :SOUR:VOLT?", "< 0.100   (ms)"}));

        delete std::exchange(m_queue, nullptr);
        QVERIFY(!lineEdit()->isEnabled());
        QVERIFY(logView()->document()->lastBlock().text().contains(QLatin1String("closed")));
        m_console->sendLine(QStringLiteral("*IDN?"));
        QCOMPARE(traffic().size(), 4);
    }
};

QTEST_MAIN(TestScpiConsole)
#include "tst_scpiconsole.moc"
