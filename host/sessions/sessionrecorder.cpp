#include "host/sessions/sessionrecorder.h"

#include "store/sessionstore.h"

#include <QAbstractItemView>
#include <QDateTime>
#include <QEvent>

namespace zelt::host {

SessionRecorder::SessionRecorder(zelt::store::SessionStore* store, QAbstractItemView* view,
                                 zelt::store::SessionHeader header)
    : QObject(view)
    , m_store(store)
    , m_view(view)
    , m_header(std::move(header))
{
    // A view announces no new model, but it makes a new selection model, its child, for each.
    view->installEventFilter(this);
    follow();
}

SessionRecorder::~SessionRecorder()
{
    if (m_store && m_session != 0)
        m_store->endSession(m_session);
}

bool SessionRecorder::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_view && event->type() == QEvent::ChildAdded && m_view->model() != m_model)
        follow();
    return QObject::eventFilter(watched, event);
}

void SessionRecorder::follow()
{
    if (m_model)
        disconnect(m_model, nullptr, this, nullptr);
    m_model = m_view ? m_view->model() : nullptr;
    if (!m_model)
        return;
    // The rows the table already holds were logged through the table shown before.
    m_newSegment = m_session != 0;
    connect(m_model, &QAbstractItemModel::rowsInserted, this,
            [this](QModelIndex const& parent, int first, int last) {
                if (!parent.isValid())
                    rowsAdded(first, last);
            });
    auto cleared = [this] {
        m_newSegment = m_session != 0;
    };
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, cleared);
    connect(m_model, &QAbstractItemModel::modelReset, this, cleared);
    connect(m_model, &QAbstractItemModel::columnsInserted, this, cleared);
    connect(m_model, &QAbstractItemModel::columnsRemoved, this, cleared);
}

QStringList SessionRecorder::columns() const
{
    QStringList names;
    int const count = m_model->columnCount();
    names.reserve(count);
    for (int c = 0; c < count; ++c)
        names << m_model->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
    return names;
}

void SessionRecorder::rowsAdded(int first, int last)
{
    if (!m_store || !m_model)
        return;
    if (m_view && m_view->model() != m_model) {
        follow();
        return;
    }
    if (m_session == 0) {
        m_columns = columns();
        m_session = m_store->beginSession(m_header, m_columns);
    } else if (m_newSegment) {
        m_columns = columns();
        m_store->newSegment(m_session, m_columns);
    }
    m_newSegment = false;
    qint64 const now = QDateTime::currentMSecsSinceEpoch();
    int const count = int(m_columns.size());
    for (int r = first; r <= last; ++r) {
        QStringList cells;
        cells.reserve(count);
        for (int c = 0; c < count; ++c)
            cells << m_model->data(m_model->index(r, c), Qt::DisplayRole).toString();
        m_store->appendRow(m_session, now, cells);
    }
}

} // namespace zelt::host
