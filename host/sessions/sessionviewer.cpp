#include "host/sessions/sessionviewer.h"
#include "ui_sessionviewer.h"

#include "host/sessions/sessionchart.h"
#include "host/sessions/sessionrowsmodel.h"
#include "store/sessionreader.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QLocale>
#include <QMessageBox>

namespace zelt::host {

namespace {

QString timeText(QDateTime const& time)
{
    return time.isValid() ? time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) : QString();
}

} // namespace

SessionViewer::SessionViewer(zelt::store::StoreTarget const& target, zelt::store::SessionInfo const& session,
                             QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::SessionViewer>())
    , m_reader(std::make_unique<zelt::store::SessionReader>(target))
    , m_session(session)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Session of %1").arg(session.header.instrument));
    int const rows = int(qMin<qint64>(session.rows, INT_MAX));
    // A session without an end is still being written, or its host died.
    QString const span = session.end.isValid()
        ? tr("%1 to %2").arg(timeText(session.start), timeText(session.end))
        : session.state == zelt::store::SessionState::Interrupted
        ? tr("from %1, interrupted").arg(timeText(session.start))
        : tr("from %1, still running").arg(timeText(session.start));
    ui->labelTitle->setText(
        tr("%1 (%2, %3), %4, %n row(s)", nullptr, rows)
            .arg(session.header.instrument, session.header.model, session.header.resource, span));
    ui->table->verticalHeader()->setDefaultSectionSize(ui->table->fontMetrics().height() + 4);
}

SessionViewer::~SessionViewer() = default;

bool SessionViewer::load(QString* error)
{
    if (!m_reader->open()) {
        *error = m_reader->lastError();
        return false;
    }
    auto const segments = m_reader->segments(m_session.id);
    if (segments.isEmpty()) {
        *error = tr("The session holds no rows.");
        return false;
    }
    QStringList const columns = segments.constFirst().columns;
    // Which cells are numbers, from the first row; the first column numbers the rows.
    QList<int> numeric;
    auto const first = m_reader->rows(m_session.id, 0, 1);
    if (!first.isEmpty()) {
        for (int c = 1; c < qMin<int>(int(first.constFirst().cells.size()), zelt::store::kNumberColumns);
             ++c) {
            bool number = false;
            first.constFirst().cells.at(c).toDouble(&number);
            if (number)
                numeric << c;
        }
    }
    m_reader->timeSpan(m_session.id, &m_firstMs, &m_lastMs);
    m_model = new SessionRowsModel(m_reader.get(), m_session.id, m_session.rows, columns, this);
    ui->table->setModel(m_model);
    m_chart = new SessionChart(m_reader.get(), m_session.id, columns, numeric, ui->chartHolder);
    ui->chartHolder->layout()->addWidget(m_chart);
    ui->splitter->setSizes({400, 240});
    m_chart->showAll();
    return true;
}

bool SessionViewer::exportRange(QString const& path, qint64 fromMs, qint64 toMs)
{
    return m_reader->exportCsv(m_session.id, path, fromMs, toMs);
}

void SessionViewer::on_buttonShowAll_clicked()
{
    if (m_chart)
        m_chart->showAll();
}

void SessionViewer::on_buttonExportAll_clicked()
{
    exportAsked(m_firstMs, m_lastMs);
}

void SessionViewer::on_buttonExportShown_clicked()
{
    if (m_chart)
        exportAsked(m_chart->shownFromMs(), m_chart->shownToMs());
}

void SessionViewer::exportAsked(qint64 fromMs, qint64 toMs)
{
    QString const name
        = QFileDialog::getSaveFileName(this, tr("Save As"), QString(), QStringLiteral("csv(*.csv)"));
    if (name.isEmpty())
        return;
    if (!exportRange(name, fromMs, toMs))
        QMessageBox::warning(this, windowTitle(), tr("Failed to export data: %1").arg(m_reader->lastError()));
}

} // namespace zelt::host
