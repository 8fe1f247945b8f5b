#pragma once
// A SCPI console for one instrument: lines typed or read from a file go through the
// instrument's command queue between two polls, and their answers come back here alone.

#include "measure/queryclient.h"

#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <memory>

namespace Ui {
class ScpiConsole;
}

namespace zelt::measure {
class MeasureInst;
}

namespace zelt::host {

class ScpiConsole : public QWidget
{
    Q_OBJECT
public:
    static constexpr int kHistoryLimit = 200;
    // A command file larger than this is surely not one.
    static constexpr qint64 kFileSizeLimit = qint64(1024) * 1024;

    // The console follows the queue through lost links and reconnections; once the
    // queue is destroyed it takes no more lines. title is its window title as given.
    ScpiConsole(zelt::measure::MeasureInst* queue, QString const& title, QWidget* parent = nullptr);
    ~ScpiConsole() override;

    // Typed lines, oldest first.
    QStringList history() const { return m_history; }
    bool isSendingFile() const { return !m_fileLines.isEmpty(); }

public Q_SLOTS:
    // As if typed and sent: logged and kept in the history.
    void sendLine(QString const& line);
    // Sends the file's commands one after the other, each once the previous one has ended.
    // False, said in the log, for a file that cannot be read, is not text or is too large.
    bool sendFile(QString const& path);
    // No further line of the file goes out; the one in flight still ends in the log.
    void stopFile();

Q_SIGNALS:
    // A file has been sent to its end, stopped, or broken off by a lost link.
    void fileFinished();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    void on_line_returnPressed();
    void on_buttonSend_clicked();
    void on_buttonSendFile_clicked();
    void on_buttonStop_clicked();
    void on_buttonClear_clicked();

private:
    enum class Tone { Plain, Note, Error };

    quint64 submit(QString const& line);
    void settle(quint64 ticket, char marker, QString const& text, Tone tone);
    void onFailed(quint64 ticket, zelt::measure::QueryClient::Failure failure);
    void sendNextFileLine();
    void endFile(QString const& text, Tone tone);
    void onQueueDestroyed();
    void note(QString const& text, Tone tone = Tone::Note);
    // marker: > sent, < answered, = written, ! failed, # a note of the console's.
    void log(char marker, QString const& text, Tone tone);
    void walkHistory(int step);
    void updateControls();

    std::unique_ptr<Ui::ScpiConsole> ui;
    QPointer<zelt::measure::MeasureInst> m_queue;
    zelt::measure::QueryClient* m_client;
    QHash<quint64, QElapsedTimer> m_sent; // by ticket, until the word ends
    QStringList m_history;
    qsizetype m_historyPos = 0; // m_history.size(): the line being typed
    QString m_draft;
    QString m_fileName;
    QStringList m_fileLines;
    qsizetype m_fileNext = 0;
    quint64 m_fileTicket = 0; // the file's line in flight; 0 for none
    QString m_lastFolder;
};

} // namespace zelt::host
