#include "host/sessions/sessionbrowser.h"
#include "ui_sessionbrowser.h"

#include "host/sessions/sessionviewer.h"
#include "store/sessionreader.h"

#include <QFileDialog>
#include <QMessageBox>

namespace zelt::host {

namespace {

QString timeText(QDateTime const& time)
{
    return time.isValid() ? time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) : QString();
}

} // namespace

SessionBrowser::SessionBrowser(zelt::store::StoreTarget target, QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::SessionBrowser>())
    , m_target(std::move(target))
    , m_reader(std::make_unique<zelt::store::SessionReader>(m_target))
{
    ui->setupUi(this);
    ui->labelStore->setText(tr("Sessions in %1").arg(m_target.describe()));
    refresh();
}

SessionBrowser::~SessionBrowser() = default;

void SessionBrowser::refresh()
{
    ui->list->clear();
    m_sessions.clear();
    if (!m_reader->open()) {
        ui->labelStore->setText(tr("%1 cannot be read: %2").arg(m_target.describe(), m_reader->lastError()));
        return;
    }
    m_sessions = m_reader->sessions();
    for (qsizetype i = 0; i < m_sessions.size(); ++i) {
        auto const& session = m_sessions.at(i);
        QString state;
        switch (session.state) {
        case zelt::store::SessionState::Open:
            state = tr("running");
            break;
        case zelt::store::SessionState::Ended:
            state = tr("ended");
            break;
        case zelt::store::SessionState::Interrupted:
            state = tr("interrupted");
            break;
        }
        auto* item = new QTreeWidgetItem(ui->list,
                                         {session.header.instrument, session.header.model,
                                          timeText(session.start), timeText(session.end),
                                          QString::number(session.rows), state, session.host});
        item->setData(0, Qt::UserRole, int(i));
        item->setTextAlignment(4, Qt::AlignRight | Qt::AlignVCenter);
        item->setToolTip(0, session.header.resource);
    }
    for (int c = 0; c < ui->list->columnCount(); ++c)
        ui->list->resizeColumnToContents(c);
    if (ui->list->topLevelItemCount() > 0)
        ui->list->setCurrentItem(ui->list->topLevelItem(0));
}

zelt::store::SessionInfo const* SessionBrowser::selected() const
{
    QTreeWidgetItem const* item = ui->list->currentItem();
    if (!item)
        return nullptr;
    int const index = item->data(0, Qt::UserRole).toInt();
    return index >= 0 && index < m_sessions.size() ? &m_sessions.at(index) : nullptr;
}

SessionViewer* SessionBrowser::openSession(zelt::store::SessionInfo const& session)
{
    auto* viewer = new SessionViewer(m_target, session, this);
    QString error;
    if (!viewer->load(&error)) {
        delete viewer;
        QMessageBox::information(this, windowTitle(), error);
        return nullptr;
    }
    viewer->show();
    return viewer;
}

void SessionBrowser::on_buttonOpen_clicked()
{
    if (auto const* session = selected())
        openSession(*session);
}

void SessionBrowser::on_list_itemDoubleClicked(QTreeWidgetItem* item, int column)
{
    Q_UNUSED(column)
    ui->list->setCurrentItem(item);
    on_buttonOpen_clicked();
}

void SessionBrowser::on_buttonExport_clicked()
{
    auto const* session = selected();
    if (!session)
        return;
    QString const name
        = QFileDialog::getSaveFileName(this, tr("Save As"), QString(), QStringLiteral("csv(*.csv)"));
    if (name.isEmpty())
        return;
    qint64 first = 0;
    qint64 last = 0;
    m_reader->timeSpan(session->id, &first, &last);
    if (!m_reader->exportCsv(session->id, name, first, last))
        QMessageBox::warning(this, windowTitle(), tr("Failed to export data: %1").arg(m_reader->lastError()));
}

void SessionBrowser::on_buttonDelete_clicked()
{
    auto const* session = selected();
    if (!session)
        return;
    if (QMessageBox::question(this, windowTitle(),
                              tr("Delete the session of %1 started %2, with its %n row(s)?", nullptr,
                                 int(qMin<qint64>(session->rows, INT_MAX)))
                                  .arg(session->header.instrument, timeText(session->start)),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
        != QMessageBox::Yes)
        return;
    if (!m_reader->remove(session->id))
        QMessageBox::warning(this, windowTitle(),
                             tr("The session was not deleted: %1").arg(m_reader->lastError()));
    refresh();
}

void SessionBrowser::on_buttonRefresh_clicked()
{
    refresh();
}

} // namespace zelt::host
