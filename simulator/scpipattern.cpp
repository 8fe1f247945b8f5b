#include "simulator/scpipattern.h"

namespace kvrsim {

ScpiPattern::ScpiPattern(QString const& pattern)
    : m_text(pattern)
{
    QStringList const parts = pattern.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (QString part : parts) {
        Node node;
        if (part.startsWith(QLatin1Char('[')) && part.endsWith(QLatin1Char(']'))) {
            node.optional = true;
            part = part.mid(1, part.size() - 2);
        }
        // The short form is the leading run of capitals (and *, digits, _), as the
        // instrument's manual writes them: POWERDown gives POWERD.
        int shortLength = 0;
        while (shortLength < part.size() && !part[shortLength].isLower())
            ++shortLength;
        node.shortForm = part.left(shortLength).toUpper();
        node.longForm = part.toUpper();
        m_nodes.append(node);
    }
}

bool ScpiPattern::matches(QStringList const& keywords) const
{
    return matchFrom(0, keywords, 0);
}

bool ScpiPattern::matchFrom(int node, QStringList const& keywords, int keyword) const
{
    if (node == m_nodes.size())
        return keyword == keywords.size();
    Node const& n = m_nodes[node];
    if (keyword < keywords.size()) {
        QString const word = keywords[keyword].toUpper();
        if ((word == n.shortForm || word == n.longForm) && matchFrom(node + 1, keywords, keyword + 1))
            return true;
    }
    return n.optional && matchFrom(node + 1, keywords, keyword);
}

} // namespace kvrsim
