#include "measure/commandbox.h"

namespace zelt::measure {

void CommandBox::append(QString const& command)
{
    if (!command.isEmpty())
        m_commands.append(command);
}

void CommandBox::append(QList<QString> const& commands)
{
    m_commands.reserve(m_commands.size() + commands.size());
    for (QString const& command : commands)
        append(command);
}

QList<QString> CommandBox::queryCmds() const
{
    QList<QString> keys;
    keys.reserve(m_commands.size());
    for (QString const& command : m_commands)
        keys.append(queryCmd(command));
    return keys;
}

QString CommandBox::queryCmd(QString const& command) const
{
    if (command.isEmpty())
        return {};
    return command + u'?';
}

QString CommandBox::perfCmd(QString const& command) const
{
    if (command.isEmpty())
        return {};
    return command + QStringLiteral(" %1");
}

} // namespace zelt::measure
