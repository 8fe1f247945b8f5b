#include "measure/wordbox.h"

#include <utility>

namespace zelt::measure {

WordBox::WordBox(QSharedPointer<util::Word> word, bool cyclic)
    : m_word(std::move(word))
    , m_cyclic(cyclic)
{
}

QSharedPointer<WordBox> WordBoxFactory::makeCyclic(QSharedPointer<util::Word> const& word)
{
    return QSharedPointer<WordBox>::create(word, true);
}

QSharedPointer<WordBox> WordBoxFactory::makeAcyclic(QSharedPointer<util::Word> const& word)
{
    return QSharedPointer<WordBox>::create(word, false);
}

} // namespace zelt::measure
