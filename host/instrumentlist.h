#pragma once
// The host's list of open instruments: each one's name, link state, readings per
// second and errors. A double click brings the instrument's window up.

#include <QAbstractTableModel>
#include <QDockWidget>
#include <QList>
#include <QPointer>
#include <QTimer>

class QTableView;

namespace zelt::host {

class InstrumentSession;

class InstrumentListModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { NameColumn, StateColumn, RateColumn, ErrorsColumn, ColumnCount };

    explicit InstrumentListModel(QObject* parent = nullptr);

    void add(InstrumentSession* session);
    InstrumentSession* session(int row) const;

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    void remove(QObject* session);
    void refresh(InstrumentSession* session);

    QList<InstrumentSession*> m_sessions;
    QTimer m_rates;
};

class InstrumentListDock : public QDockWidget
{
    Q_OBJECT
public:
    explicit InstrumentListDock(QWidget* parent = nullptr);

    InstrumentListModel* model() const { return m_model; }
    QTableView* view() const { return m_view; }

Q_SIGNALS:
    void activated(zelt::host::InstrumentSession* session);

private:
    InstrumentListModel* m_model;
    QTableView* m_view;
};

} // namespace zelt::host
