#include "util/character.h"

#include <QAbstractTableModel>
#include <QFile>
#include <QSaveFile>

namespace zelt::util::character {

namespace {

// Text is gathered in a reused buffer and written out as UTF-8 in chunks: a large
// table costs one conversion per chunk instead of one allocation per line.
class Utf8Writer
{
public:
    explicit Utf8Writer(QSaveFile& file)
        : m_file(file)
    {
        m_chunk.reserve(kChunkSize + 1024);
    }

    QString& text() { return m_chunk; }

    bool endLine()
    {
        m_chunk.append(u'\n');
        return m_chunk.size() < kChunkSize || flush();
    }

    bool flush()
    {
        if (m_chunk.isEmpty())
            return true;
        QByteArray const bytes = m_chunk.toUtf8();
        m_chunk.resize(0); // keeps the capacity
        return m_file.write(bytes) == bytes.size();
    }

    bool commit() { return flush() && m_file.commit(); }

private:
    static constexpr qsizetype kChunkSize = qsizetype(32) * 1024;
    QSaveFile& m_file;
    QString m_chunk;
};

bool needsQuotes(QString const& text)
{
    for (QChar const c : text) {
        if (c == u',' || c == u'"' || c == u'\n' || c == u'\r')
            return true;
    }
    return false;
}

void appendField(QString& out, QString const& text)
{
    if (!needsQuotes(text)) {
        out.append(text);
        return;
    }
    out.append(u'"');
    for (QChar const c : text) {
        if (c == u'"')
            out.append(u'"');
        out.append(c);
    }
    out.append(u'"');
}

QString headerText(QAbstractTableModel const* model, int column, bool withKeys)
{
    if (withKeys) {
        QString key = model->headerData(column, Qt::Horizontal, Qt::UserRole + 1).toString();
        if (!key.isEmpty())
            return key;
    }
    return model->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
}

} // namespace

QString Character::simplifyString(QString const& text)
{
    return text.trimmed();
}

QString Character::simplifyEnd(QString const& text)
{
    qsizetype end = text.size();
    while (end > 0 && text.at(end - 1).isSpace())
        --end;
    return end == text.size() ? text : text.left(end);
}

bool Character::isStart(QString const& text, QString const& start)
{
    return start.isEmpty() || text.startsWith(start, Qt::CaseInsensitive);
}

bool Character::strToBool(QString const& text)
{
    QStringView const word = QStringView(text).trimmed();
    return word == u"1" || word.compare(u"ON", Qt::CaseInsensitive) == 0
        || word.compare(u"TRUE", Qt::CaseInsensitive) == 0;
}

QString Character::boolToStr(bool value, bool word)
{
    if (word)
        return value ? QStringLiteral("ON") : QStringLiteral("OFF");
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

QList<QString> Character::csvLoad(QString const& path, qsizetype mostLines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kCsvMostBytes)
        return {};
    QList<QString> lines;
    qint64 read = 0;
    while (lines.size() < mostLines && !file.atEnd()) {
        // The size said nothing of a device or a pipe: count what comes.
        QByteArray line = file.readLine(kCsvMostBytes + 2);
        read += line.size();
        if (read > kCsvMostBytes)
            return {};
        if (read == line.size() && line.startsWith("\xEF\xBB\xBF")) { // spreadsheets like to add a BOM
            line.remove(0, 3);
            if (line.isEmpty())
                break;
        }
        if (line.endsWith('\n'))
            line.chop(1);
        if (line.endsWith('\r'))
            line.chop(1);
        lines.append(QString::fromUtf8(line));
    }
    return lines;
}

bool Character::csvSave(QString const& path, QList<QString> const& lines)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    Utf8Writer out(file);
    for (QString const& line : lines) {
        out.text().append(line);
        if (!out.endLine())
            return false;
    }
    return out.commit();
}

bool Character::csvSave(QString const& path, QAbstractTableModel* model, bool withKeys)
{
    if (!model)
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    Utf8Writer out(file);

    int const columns = model->columnCount();
    for (int c = 0; c < columns; ++c) {
        if (c > 0)
            out.text().append(u',');
        appendField(out.text(), headerText(model, c, withKeys));
    }
    if (!out.endLine())
        return false;

    int const rows = model->rowCount();
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            if (c > 0)
                out.text().append(u',');
            appendField(out.text(), model->data(model->index(r, c), Qt::DisplayRole).toString());
        }
        if (!out.endLine())
            return false;
    }
    return out.commit();
}

QString Character::csvField(QString const& text)
{
    if (!needsQuotes(text))
        return text;
    QString quoted;
    quoted.reserve(text.size() + 8);
    appendField(quoted, text);
    return quoted;
}

} // namespace zelt::util::character
