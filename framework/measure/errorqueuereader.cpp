#include "measure/errorqueuereader.h"

#include "measure/measureinst.h"
#include "util/code.h"
#include "util/word.h"

#include <algorithm>

namespace zelt::measure {

ErrorQueueReader::ErrorQueueReader(MeasureInst* queue, QObject* parent)
    : QObject(parent)
    , m_client(queue)
{
    connect(queue, &MeasureInst::settingWritten, this, &ErrorQueueReader::onSetting);
    connect(&m_client, &QueryClient::answered, this, &ErrorQueueReader::onAnswer);
    connect(&m_client, &QueryClient::failed, this, [this](quint64 ticket) { onFailed(ticket); });
}

bool ErrorQueueReader::parse(QByteArray const& answer, int& code, QString& text)
{
    qsizetype const comma = answer.indexOf(',');
    if (comma <= 0)
        return false;
    bool ok = false;
    code = answer.left(comma).trimmed().toInt(&ok);
    if (!ok)
        return false;
    QByteArray quoted = answer.mid(comma + 1).trimmed();
    if (quoted.size() >= 2 && quoted.startsWith('"') && quoted.endsWith('"'))
        quoted = quoted.mid(1, quoted.size() - 2);
    text = QString::fromUtf8(quoted);
    return true;
}

void ErrorQueueReader::onSetting(QSharedPointer<util::Word> const& word)
{
    auto const* code = word ? dynamic_cast<util::StringCode const*>(word->code().data()) : nullptr;
    Read read;
    read.cause = code ? code->data().trimmed() : QString();
    read.ticket = m_client.sendNext(kQuery);
    read.count = 1;
    m_reads.push_back(std::move(read));
}

void ErrorQueueReader::onAnswer(quint64 ticket, QByteArray const& answer)
{
    auto it = std::find_if(m_reads.begin(), m_reads.end(),
                           [ticket](Read const& r) { return r.ticket == ticket; });
    if (it == m_reads.end())
        return;
    int code = 0;
    QString text;
    if (!parse(answer, code, text) || code == 0 || it->count >= kMaxReads) {
        m_reads.erase(it);
        return;
    }
    Q_EMIT instrumentError(code, text, it->cause);
    // The queue may hold more: read on until it says 0.
    it->ticket = m_client.sendNext(kQuery);
    ++it->count;
}

void ErrorQueueReader::onFailed(quint64 ticket)
{
    m_reads.erase(std::remove_if(m_reads.begin(), m_reads.end(),
                                 [ticket](Read const& r) { return r.ticket == ticket; }),
                  m_reads.end());
}

} // namespace zelt::measure
