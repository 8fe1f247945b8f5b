#include "host/console/scpiconsole.h"
#include "ui_scpiconsole.h"

#include "measure/measureinst.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStringDecoder>
#include <QTextBlock>
#include <QTextCursor>
#include <QTime>

namespace zelt::host {

using zelt::measure::QueryClient;

namespace {

QString stamp()
{
    return QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz"));
}

bool endsTheLink(QueryClient::Failure failure)
{
    return failure == QueryClient::Failure::LinkLost || failure == QueryClient::Failure::Stopped
        || failure == QueryClient::Failure::NotRunning;
}

} // namespace

ScpiConsole::ScpiConsole(zelt::measure::MeasureInst* queue, QString const& title, QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ScpiConsole>())
    , m_queue(queue)
    , m_client(new QueryClient(queue, this))
{
    ui->setupUi(this);
    setWindowTitle(title);
    ui->log->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    ui->line->installEventFilter(this);
    setFocusProxy(ui->line);

    connect(m_client, &QueryClient::answered, this, [this](quint64 ticket, QByteArray const& answer) {
        settle(ticket, '<', QString::fromUtf8(answer), Tone::Plain);
    });
    connect(m_client, &QueryClient::written, this,
            [this](quint64 ticket) { settle(ticket, '=', tr("written"), Tone::Plain); });
    connect(m_client, &QueryClient::failed, this, &ScpiConsole::onFailed);

    if (queue) {
        connect(queue, &QObject::destroyed, this, &ScpiConsole::onQueueDestroyed);
        connect(queue, &zelt::measure::MeasureInst::started, this, [this] { note(tr("Polling started.")); });
        connect(queue, &zelt::measure::MeasureInst::stoped, this, [this] { note(tr("Polling stopped.")); });
        connect(queue, &zelt::measure::MeasureInst::ioError, this,
                [this](QString const& message) { note(message, Tone::Error); });
    } else {
        note(tr("This window has no command queue: the console cannot send anything."), Tone::Error);
    }
    updateControls();
}

ScpiConsole::~ScpiConsole() = default;

void ScpiConsole::sendLine(QString const& line)
{
    QString const text = line.trimmed();
    if (text.isEmpty() || !m_queue)
        return;
    if (m_history.isEmpty() || m_history.constLast() != text) {
        m_history.append(text);
        if (m_history.size() > kHistoryLimit)
            m_history.removeFirst();
    }
    m_historyPos = m_history.size();
    m_draft.clear();
    submit(text);
}

bool ScpiConsole::sendFile(QString const& path)
{
    QString const name = QFileInfo(path).fileName();
    if (!m_queue)
        return false;
    if (isSendingFile()) {
        note(tr("%1 is still being sent; stop it first.").arg(m_fileName), Tone::Error);
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        note(tr("%1 cannot be read: %2").arg(name, file.errorString()), Tone::Error);
        return false;
    }
    if (file.size() > kFileSizeLimit) {
        note(tr("%1 is %2 KiB; a file of commands may hold at most %3 KiB.")
                 .arg(name, QString::number((file.size() + 1023) / 1024),
                      QString::number(kFileSizeLimit / 1024)),
             Tone::Error);
        return false;
    }
    QByteArray const bytes = file.readAll();
    QStringDecoder decode(QStringDecoder::Utf8);
    QString const text = decode(bytes);
    if (bytes.contains('\0') || decode.hasError()) {
        note(tr("%1 is not a text file.").arg(name), Tone::Error);
        return false;
    }

    QStringList lines;
    for (QString const& raw : text.split(QLatin1Char('\n'))) {
        QString const line = raw.trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            lines.append(line);
    }
    if (lines.isEmpty()) {
        note(tr("%1 holds no commands.").arg(name));
        return true;
    }
    m_fileName = name;
    m_fileLines = lines;
    m_fileNext = 0;
    note(tr("Sending %1: %n command(s).", nullptr, int(lines.size())).arg(name));
    updateControls();
    sendNextFileLine();
    return true;
}

void ScpiConsole::stopFile()
{
    if (!isSendingFile())
        return;
    endFile(tr("%1 stopped after %2 of %3 commands.")
                .arg(m_fileName, QString::number(m_fileNext), QString::number(m_fileLines.size())),
            Tone::Note);
}

bool ScpiConsole::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->line && event->type() == QEvent::KeyPress) {
        int const key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            walkHistory(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ScpiConsole::on_line_returnPressed()
{
    on_buttonSend_clicked();
}

void ScpiConsole::on_buttonSend_clicked()
{
    QString const text = ui->line->text();
    if (text.trimmed().isEmpty())
        return;
    ui->line->clear();
    sendLine(text);
}

void ScpiConsole::on_buttonSendFile_clicked()
{
    QString const path
        = QFileDialog::getOpenFileName(this, tr("Send a file of commands"), m_lastFolder,
                                       tr("Command files (*.scpi *.txt *.cmd);;All files (*)"));
    if (path.isEmpty())
        return;
    m_lastFolder = QFileInfo(path).absolutePath();
    sendFile(path);
}

void ScpiConsole::on_buttonStop_clicked()
{
    stopFile();
}

void ScpiConsole::on_buttonClear_clicked()
{
    ui->log->clear();
}

quint64 ScpiConsole::submit(QString const& line)
{
    log('>', line, Tone::Plain);
    QElapsedTimer clock;
    clock.start();
    quint64 const ticket = m_client->send(line.toUtf8(), ui->spinTimeout->value());
    m_sent.insert(ticket, clock);
    return ticket;
}

void ScpiConsole::settle(quint64 ticket, char marker, QString const& text, Tone tone)
{
    auto const it = m_sent.constFind(ticket);
    if (it == m_sent.constEnd())
        return;
    log(marker, QStringLiteral("%1   (%2 ms)").arg(text, QString::number(it->elapsed())), tone);
    m_sent.erase(it);
    if (ticket == m_fileTicket) {
        m_fileTicket = 0;
        sendNextFileLine();
    }
}

void ScpiConsole::onFailed(quint64 ticket, QueryClient::Failure failure)
{
    // The file's next line would only fail the same way.
    bool const breaksFile = ticket != 0 && ticket == m_fileTicket && endsTheLink(failure);
    if (breaksFile)
        m_fileTicket = 0;
    settle(ticket, '!', QueryClient::failureText(failure), Tone::Error);
    if (breaksFile)
        endFile(tr("%1 broken off at command %2 of %3.")
                    .arg(m_fileName, QString::number(m_fileNext), QString::number(m_fileLines.size())),
                Tone::Error);
}

void ScpiConsole::sendNextFileLine()
{
    if (!isSendingFile())
        return;
    if (m_fileNext >= m_fileLines.size()) {
        endFile(tr("%1 sent.").arg(m_fileName), Tone::Note);
        return;
    }
    ui->labelProgress->setText(
        tr("%1: %2 of %3")
            .arg(m_fileName, QString::number(m_fileNext + 1), QString::number(m_fileLines.size())));
    m_fileTicket = submit(m_fileLines.at(m_fileNext++));
}

void ScpiConsole::endFile(QString const& text, Tone tone)
{
    m_fileLines.clear();
    m_fileNext = 0;
    m_fileTicket = 0;
    ui->labelProgress->clear();
    note(text, tone);
    updateControls();
    Q_EMIT fileFinished();
}

void ScpiConsole::onQueueDestroyed()
{
    // The queue ends none of the words it still held: forget them.
    m_sent.clear();
    bool const sending = isSendingFile();
    m_fileLines.clear();
    m_fileNext = 0;
    m_fileTicket = 0;
    ui->labelProgress->clear();
    note(tr("The instrument's window was closed; the console sends nothing more."));
    updateControls();
    if (sending)
        Q_EMIT fileFinished();
}

void ScpiConsole::note(QString const& text, Tone tone)
{
    log('#', text, tone);
}

void ScpiConsole::log(char marker, QString const& text, Tone tone)
{
    QScrollBar* const bar = ui->log->verticalScrollBar();
    bool const atEnd = bar->value() == bar->maximum();

    QTextCharFormat format;
    if (tone == Tone::Error)
        format.setForeground(QColor(0xd3, 0x2f, 0x2f));
    else if (tone == Tone::Note)
        format.setForeground(palette().color(QPalette::PlaceholderText));
    // A cursor of our own, with the whole format given: the view's cursor would carry
    // the colour of one line into the next.
    QTextCursor cursor(ui->log->document());
    cursor.movePosition(QTextCursor::End);
    if (!ui->log->document()->isEmpty())
        cursor.insertBlock(QTextBlockFormat(), format);
    cursor.insertText(QStringLiteral("%1  %2 %3").arg(stamp(), QChar::fromLatin1(marker), text), format);

    if (atEnd)
        bar->setValue(bar->maximum());
}

void ScpiConsole::walkHistory(int step)
{
    qsizetype const next = m_historyPos + step;
    if (next < 0 || next > m_history.size())
        return;
    if (m_historyPos == m_history.size())
        m_draft = ui->line->text();
    m_historyPos = next;
    ui->line->setText(next == m_history.size() ? m_draft : m_history.at(next));
}

void ScpiConsole::updateControls()
{
    bool const open = !m_queue.isNull();
    bool const sending = isSendingFile();
    ui->line->setEnabled(open);
    ui->buttonSend->setEnabled(open);
    ui->spinTimeout->setEnabled(open);
    ui->buttonSendFile->setEnabled(open && !sending);
    ui->buttonStop->setEnabled(open && sending);
}

} // namespace zelt::host
