#pragma once
// One header of the command table, such as "[SOURce]:VOLTage:[LEVel]", matched against received
// headers in the short or the long form of each keyword, in any case. Bracketed keywords may be left out.

#include <QList>
#include <QString>
#include <QStringList>

namespace kvrsim {

class ScpiPattern
{
public:
    explicit ScpiPattern(QString const& pattern);
    // keywords: the received header split at its colons, without the leading colon and the '?'.
    bool matches(QStringList const& keywords) const;
    QString text() const { return m_text; }

private:
    struct Node
    {
        QString shortForm; // upper case
        QString longForm; // upper case
        bool optional = false;
    };
    bool matchFrom(int node, QStringList const& keywords, int keyword) const;

    QString m_text;
    QList<Node> m_nodes;
};

} // namespace kvrsim
