#pragma once
// Text helpers for instrument words and the CSV files of the record and the programmer.

#include "util/zelt_util_export.h"

#include <QList>
#include <QString>

#include <limits>

class QAbstractTableModel;

namespace zelt::util::character {

class ZELT_UTIL_EXPORT Character
{
public:
    // Trims white space, CR and LF at both ends; inner text stays as it is.
    static QString simplifyString(QString const& text);
    // The same at the end only.
    static QString simplifyEnd(QString const& text);

    // Case-insensitive prefix test. An empty start is a prefix of every text.
    static bool isStart(QString const& text, QString const& start);

    // Reads an instrument's boolean word: "1", "ON" and "TRUE" in any case, with
    // blanks around them, are true; everything else, numbers such as "2" included, is false.
    static bool strToBool(QString const& text);
    // Writes a boolean word: "ON"/"OFF" when word is true, else "1"/"0".
    // The instrument takes both.
    static QString boolToStr(bool value, bool word);

    // The programmer's files hold a header and at most 128 rows: a few kilobytes.
    static constexpr qint64 kCsvMostBytes = qint64(1) << 20;

    // The file's lines without their terminators (LF or CRLF), read as UTF-8; a
    // leading byte order mark is dropped. A final empty line after the last
    // terminator is not a line. Lines are read one at a time and only the first
    // mostLines of them; the rest of the file is not read. No lines when the file
    // can't be read or is larger than kCsvMostBytes.
    static QList<QString> csvLoad(QString const& path,
                                  qsizetype mostLines = std::numeric_limits<qsizetype>::max());

    // Writes lines, each ended by LF, as UTF-8. The file is replaced only once
    // everything is written, so a failure never leaves a half-written file.
    static bool csvSave(QString const& path, QList<QString> const& lines);

    // Writes a table model: a header line of the horizontal header titles
    // (Qt::DisplayRole), then one line per row of the cells' display texts.
    // Fields are separated by commas and quoted as RFC 4180 says when they hold
    // a comma, a quote or a line break. withKeys true writes the header from
    // Qt::UserRole + 1 instead of the titles, where the model offers a non-empty
    // key for the column. Lines end in LF, UTF-8, replaced only once complete as above.
    static bool csvSave(QString const& path, QAbstractTableModel* model, bool withKeys);

    // One CSV field, quoted only where it must be.
    static QString csvField(QString const& text);
};

} // namespace zelt::util::character
