#pragma once
// Knows the SCPI commands of one group and forms the texts that query and perform them.

#include "measure/zelt_measure_export.h"

#include <QList>
#include <QString>

namespace zelt::measure {

class ZELT_MEASURE_EXPORT CommandBox
{
public:
    // Empty commands are not registered.
    void append(QString const& command);
    void append(QList<QString> const& commands);

    // One key per registered command, in the order of registration: its query text.
    QList<QString> queryCmds() const;
    QList<QString> const& commands() const { return m_commands; }

    // "<command>?"; works for any command, registered or not. Empty for an empty command.
    QString queryCmd(QString const& command) const;

    // "<command> %1", to be filled with QString::arg; empty for an empty command.
    // Filled with an empty argument the text ends in a blank, which the queue
    // drops on the wire, so the instrument gets the bare command.
    QString perfCmd(QString const& command) const;

private:
    QList<QString> m_commands;
};

} // namespace zelt::measure
