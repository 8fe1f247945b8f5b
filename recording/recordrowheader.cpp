#include "recording/recordrowheader.h"

#include <QEvent>

RecordRowHeader::RecordRowHeader(QWidget* parent)
    : QHeaderView(Qt::Vertical, parent)
{
    // As QTableView's own: a click on a row's header selects the row.
    setSectionsClickable(true);
    setHighlightSections(true);
}

RecordRowHeader::~RecordRowHeader() = default;

void RecordRowHeader::setModel(QAbstractItemModel* model)
{
    if (QAbstractItemModel* old = this->model())
        disconnect(old, &QAbstractItemModel::headerDataChanged, this, &RecordRowHeader::forgetHint);
    QHeaderView::setModel(model);
    forgetHint();
    if (model)
        connect(model, &QAbstractItemModel::headerDataChanged, this, &RecordRowHeader::forgetHint);
}

QSize RecordRowHeader::sizeHint() const
{
    bool const empty = count() == 0;
    if (!m_hint.isValid() || empty != m_hintEmpty) {
        m_hint = QHeaderView::sizeHint();
        m_hintEmpty = empty;
    }
    return m_hint;
}

void RecordRowHeader::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        forgetHint();
    QHeaderView::changeEvent(event);
}

void RecordRowHeader::forgetHint()
{
    m_hint = QSize();
}
