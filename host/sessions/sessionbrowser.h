#pragma once
// Every session of a store, newest first: open one, export it to CSV, or delete it.

#include "store/storetypes.h"

#include <QDialog>
#include <QList>

#include <memory>

class QTreeWidgetItem;

namespace Ui {
class SessionBrowser;
}

namespace zelt::store {
class SessionReader;
}

namespace zelt::host {

class SessionViewer;

class SessionBrowser : public QDialog
{
    Q_OBJECT
public:
    explicit SessionBrowser(zelt::store::StoreTarget target, QWidget* parent = nullptr);
    ~SessionBrowser() override;

    // Reads the list again.
    void refresh();
    QList<zelt::store::SessionInfo> const& sessions() const { return m_sessions; }
    // Opens the session in a viewer of its own (shown, not modal); null when it cannot be read.
    SessionViewer* openSession(zelt::store::SessionInfo const& session);

private Q_SLOTS:
    void on_buttonOpen_clicked();
    void on_buttonExport_clicked();
    void on_buttonDelete_clicked();
    void on_buttonRefresh_clicked();
    void on_list_itemDoubleClicked(QTreeWidgetItem* item, int column);

private:
    zelt::store::SessionInfo const* selected() const;

    std::unique_ptr<Ui::SessionBrowser> ui;
    zelt::store::StoreTarget m_target;
    std::unique_ptr<zelt::store::SessionReader> m_reader;
    QList<zelt::store::SessionInfo> m_sessions;
};

} // namespace zelt::host
