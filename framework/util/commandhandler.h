#pragma once
// Dispatch table from a command's query text to the function that decodes its answer.

#include "util/zelt_util_export.h"

#include <QHash>
#include <QString>

#include <functional>

namespace zelt::util::gadget {

class ZELT_UTIL_EXPORT CommandHandler
{
public:
    using Handler = std::function<bool(QString const& word, QString const& response)>;

    // A second handler for the same key replaces the first.
    void add(QString const& key, Handler handler);

    // Runs the handler registered for exactly this word text. False when none is
    // registered, otherwise whatever the handler returns.
    bool run(QString const& word, QString const& response) const;

    bool contains(QString const& key) const { return m_handlers.contains(key); }
    int size() const { return int(m_handlers.size()); }

private:
    QHash<QString, Handler> m_handlers;
};

} // namespace zelt::util::gadget
