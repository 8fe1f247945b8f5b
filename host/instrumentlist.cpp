#include "host/instrumentlist.h"

#include "host/instrumentsession.h"
#include "widget/equipmentinfo.h"

#include <QHeaderView>
#include <QTableView>

#include <algorithm>

namespace zelt::host {

namespace {
constexpr int kRateRefreshMs = 1000;
}

InstrumentListModel::InstrumentListModel(QObject* parent)
    : QAbstractTableModel(parent)
    , m_rates(this)
{
    m_rates.setInterval(kRateRefreshMs);
    connect(&m_rates, &QTimer::timeout, this, [this] {
        if (!m_sessions.isEmpty())
            Q_EMIT dataChanged(index(0, RateColumn), index(rowCount() - 1, RateColumn), {Qt::DisplayRole});
    });
    m_rates.start();
}

void InstrumentListModel::add(InstrumentSession* session)
{
    int const row = int(m_sessions.size());
    beginInsertRows(QModelIndex(), row, row);
    m_sessions.append(session);
    endInsertRows();
    connect(session, &InstrumentSession::changed, this, [this, session] { refresh(session); });
    connect(session, &QObject::destroyed, this, &InstrumentListModel::remove);
}

InstrumentSession* InstrumentListModel::session(int row) const
{
    return row >= 0 && row < m_sessions.size() ? m_sessions.at(row) : nullptr;
}

void InstrumentListModel::remove(QObject* session)
{
    auto const it = std::find(m_sessions.begin(), m_sessions.end(), session);
    if (it == m_sessions.end())
        return;
    int const row = int(it - m_sessions.begin());
    beginRemoveRows(QModelIndex(), row, row);
    m_sessions.removeAt(row);
    endRemoveRows();
}

void InstrumentListModel::refresh(InstrumentSession* session)
{
    int const row = int(m_sessions.indexOf(session));
    if (row >= 0)
        Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1), {Qt::DisplayRole});
}

int InstrumentListModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(m_sessions.size());
}

int InstrumentListModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant InstrumentListModel::data(QModelIndex const& index, int role) const
{
    InstrumentSession const* session = this->session(index.row());
    if (!session || !index.isValid())
        return {};
    if (role == Qt::ToolTipRole && session->equipment())
        return session->equipment()->resource;
    if (role == Qt::TextAlignmentRole && index.column() >= RateColumn)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case NameColumn:
        return session->equipment() ? session->equipment()->name : QString();
    case StateColumn:
        return session->stateText();
    case RateColumn:
        return QString::number(session->readingsPerSecond(), 'f', 1);
    case ErrorsColumn:
        return session->instrumentErrors();
    default:
        return {};
    }
}

QVariant InstrumentListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case NameColumn:
        return tr("Instrument");
    case StateColumn:
        return tr("Link");
    case RateColumn:
        return tr("Readings/s");
    case ErrorsColumn:
        return tr("Errors");
    default:
        return {};
    }
}

InstrumentListDock::InstrumentListDock(QWidget* parent)
    : QDockWidget(tr("Instruments"), parent)
    , m_model(new InstrumentListModel(this))
    , m_view(new QTableView(this))
{
    setObjectName(QStringLiteral("instrumentList"));
    m_view->setModel(m_model);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->verticalHeader()->hide();
    m_view->horizontalHeader()->setSectionResizeMode(InstrumentListModel::NameColumn, QHeaderView::Stretch);
    m_view->horizontalHeader()->setSectionResizeMode(InstrumentListModel::StateColumn,
                                                     QHeaderView::ResizeToContents);
    setWidget(m_view);
    connect(m_view, &QTableView::doubleClicked, this, [this](QModelIndex const& index) {
        if (InstrumentSession* session = m_model->session(index.row()))
            Q_EMIT activated(session);
    });
}

} // namespace zelt::host
