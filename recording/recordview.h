#pragma once
// The history table: rows come at the bottom one by one and the rows already shown stay as
// they are, so a new row repaints that row alone, not the whole table as QTableView does.

#include <QTableView>

class RecordView : public QTableView
{
    Q_OBJECT
public:
    explicit RecordView(QWidget* parent = nullptr);
    ~RecordView() override;

protected Q_SLOTS:
    // Found by name from the row header's section count signal, in place of QTableView's own.
    void rowCountChanged(int oldCount, int newCount);
};
