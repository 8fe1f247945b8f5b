#include "util/commandhandler.h"

#include <utility>

namespace zelt::util::gadget {

void CommandHandler::add(QString const& key, Handler handler)
{
    m_handlers.insert(key, std::move(handler));
}

bool CommandHandler::run(QString const& word, QString const& response) const
{
    auto const it = m_handlers.constFind(word);
    if (it == m_handlers.constEnd() || !*it)
        return false;
    return (*it)(word, response);
}

} // namespace zelt::util::gadget
