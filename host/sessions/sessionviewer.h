#pragma once
// One stored session, read-only: a chart of its numeric columns over time and its table,
// with the CSV export of the whole session or of the span the chart shows.

#include "store/storetypes.h"

#include <QDialog>

#include <memory>

namespace Ui {
class SessionViewer;
}

namespace zelt::store {
class SessionReader;
}

namespace zelt::host {

class SessionChart;
class SessionRowsModel;

class SessionViewer : public QDialog
{
    Q_OBJECT
public:
    SessionViewer(zelt::store::StoreTarget const& target, zelt::store::SessionInfo const& session,
                  QWidget* parent = nullptr);
    ~SessionViewer() override;

    // False with the reason when the session cannot be read.
    bool load(QString* error);
    SessionChart* chart() const { return m_chart; }

    // Writes [fromMs, toMs] of the session as the window's Export writes its table.
    bool exportRange(QString const& path, qint64 fromMs, qint64 toMs);

private Q_SLOTS:
    void on_buttonShowAll_clicked();
    void on_buttonExportAll_clicked();
    void on_buttonExportShown_clicked();

private:
    void exportAsked(qint64 fromMs, qint64 toMs);

    std::unique_ptr<Ui::SessionViewer> ui;
    std::unique_ptr<zelt::store::SessionReader> m_reader;
    zelt::store::SessionInfo m_session;
    SessionChart* m_chart = nullptr;
    SessionRowsModel* m_model = nullptr;
    qint64 m_firstMs = 0;
    qint64 m_lastMs = 0;
};

} // namespace zelt::host
