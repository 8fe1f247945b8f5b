#pragma once
// Everything the host keeps beside one instrument window: the link's state and
// its reconnection, the instrument's error queue and protection, said in a
// banner across the window, in its title and in the instrument list.

#include "widget/equipmentinfo.h"

#include <QObject>
#include <QPointer>
#include <QString>

class QAction;

namespace zelt::measure {
class ErrorQueueReader;
class LinkMonitor;
} // namespace zelt::measure
namespace zelt::widget {
class EquipmentWindow;
class LinkBanner;
} // namespace zelt::widget
namespace zelt::share {
class ScpiShareServer;
}

namespace zelt::host {

class InstrumentSession : public QObject
{
    Q_OBJECT
public:
    // Rows of the banner, top to bottom.
    enum BannerRow { LinkRow, OverVoltageRow, OverCurrentRow, ErrorRow, StoreRow };

    // Lives as long as the window; the window may lack any of its parts.
    explicit InstrumentSession(zelt::widget::EquipmentWindow* window, QObject* parent = nullptr);
    ~InstrumentSession() override;

    zelt::widget::EquipmentWindow* window() const;
    QSharedPointer<zelt::widget::EquipmentInfo> equipment() const { return m_info; }
    zelt::measure::LinkMonitor* monitor() const { return m_monitor; }
    zelt::widget::LinkBanner* banner() const { return m_banner; }

    // Short state for lists ("Polling", "Lost"...).
    QString stateText() const;
    double readingsPerSecond() const;
    // Errors the instrument reported since the window opened.
    int instrumentErrors() const { return m_instrumentErrors; }
    bool outputOn() const;
    bool autoReconnect() const;
    void setAutoReconnect(bool on);
    // A message of the host's about this instrument (such as its logging), shown in the banner;
    // an empty text takes it away.
    void showNotice(QString const& text);

    // Opens the instrument to scripts on 127.0.0.1:port (0 picks one); false with error.
    bool share(quint16 port, bool readOnly, QString* error = nullptr);
    void unshare();
    // Null while not shared.
    zelt::share::ScpiShareServer* shareServer() const { return m_share; }
    // Asks for the port, then shares; or ends the sharing.
    void showShareDialog();
    // The window's menu action that asks the host for a SCPI console.
    QAction* consoleAction() const { return m_consoleAction; }

Q_SIGNALS:
    // The user asked for the instrument's SCPI console.
    void consoleRequested();
    // The state, the rate or the error count changed.
    void changed();
    // The instrument answered for the first time since it was opened.
    void answered();
    // The first connection failed.
    void refused(QString const& message);

private:
    void onLinkChanged();
    void onPass();
    void onInstrumentError(int code, QString const& text, QString const& cause);
    void updateProtection();
    void updateTitle();
    void setDimmed(bool dimmed);

    QPointer<zelt::widget::EquipmentWindow> m_window;
    QSharedPointer<zelt::widget::EquipmentInfo> m_info;
    zelt::measure::LinkMonitor* m_monitor = nullptr;
    zelt::measure::ErrorQueueReader* m_errors = nullptr;
    zelt::widget::LinkBanner* m_banner = nullptr;
    QAction* m_reconnectNow;
    QAction* m_stopTrying;
    QAction* m_clearOvp;
    QAction* m_clearOcp;
    QAction* m_dismissErrors;
    QAction* m_autoReconnect;
    QAction* m_shareAction;
    QAction* m_consoleAction;
    zelt::share::ScpiShareServer* m_share = nullptr;
    QStringList m_errorLines;
    int m_instrumentErrors = 0;
    bool m_ovp = false;
    bool m_ocp = false;
    bool m_dimmed = false;
    bool m_everAnswered = false;
    QString m_title;
};

} // namespace zelt::host
