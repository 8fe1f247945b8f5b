#pragma once
// A queue word with its repeat property: cyclic boxes form the polling ring,
// acyclic ones run once.

#include "measure/zelt_measure_export.h"
#include "util/word.h"

#include <QSharedPointer>

namespace zelt::measure {

class ZELT_MEASURE_EXPORT WordBox
{
public:
    WordBox(QSharedPointer<util::Word> word, bool cyclic);

    QSharedPointer<util::Word> const& word() const { return m_word; }
    bool isCyclic() const { return m_cyclic; }

private:
    QSharedPointer<util::Word> m_word;
    bool m_cyclic;
};

class ZELT_MEASURE_EXPORT WordBoxFactory
{
public:
    static QSharedPointer<WordBox> makeCyclic(QSharedPointer<util::Word> const& word);
    static QSharedPointer<WordBox> makeAcyclic(QSharedPointer<util::Word> const& word);
};

} // namespace zelt::measure
