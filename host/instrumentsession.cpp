#include "host/instrumentsession.h"

#include "host/sharedialog.h"

#include "measure/errorqueuereader.h"
#include "measure/linkmonitor.h"
#include "measure/measureinst.h"
#include "share/scpishareserver.h"
#include "widget/equipmentwindow.h"
#include "widget/linkbanner.h"

#include <QAction>
#include <QBoxLayout>
#include <QGraphicsOpacityEffect>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>
#include <QSignalBlocker>

namespace zelt::host {

namespace {
using zelt::measure::LinkMonitor;
using zelt::widget::LinkBanner;

// Resources whose lost link the user wants to bring back by hand.
QString const kManualReconnectKey = QStringLiteral("instruments/manualReconnect");
constexpr int kErrorLinesShown = 3;
constexpr double kDimmedOpacity = 0.35;
} // namespace

InstrumentSession::InstrumentSession(zelt::widget::EquipmentWindow* window, QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_info(window->equipment())
    , m_reconnectNow(new QAction(tr("Reconnect now"), this))
    , m_stopTrying(new QAction(tr("Stop trying"), this))
    , m_clearOvp(new QAction(tr("Clear"), this))
    , m_clearOcp(new QAction(tr("Clear"), this))
    , m_dismissErrors(new QAction(tr("Dismiss"), this))
    , m_autoReconnect(new QAction(tr("Reconnect automatically"), this))
    , m_shareAction(new QAction(tr("Share on a local port..."), this))
    , m_consoleAction(new QAction(tr("SCPI console"), this))
{
    zelt::widget::EquipmentParts const& parts = window->parts();
    m_banner = new LinkBanner(window);
    if (auto* box = qobject_cast<QBoxLayout*>(window->layout()))
        box->insertWidget(0, m_banner);

    m_autoReconnect->setCheckable(true);
    if (QMenu* menu = window->systemMenu()) {
        menu->addSeparator();
        menu->addAction(m_autoReconnect);
        menu->addAction(m_shareAction);
        menu->addAction(m_consoleAction);
    }
    m_consoleAction->setEnabled(parts.queue != nullptr);
    connect(m_consoleAction, &QAction::triggered, this, &InstrumentSession::consoleRequested);
    m_shareAction->setCheckable(true);
    m_shareAction->setEnabled(parts.queue != nullptr);
    connect(m_shareAction, &QAction::triggered, this, &InstrumentSession::showShareDialog);
    connect(m_autoReconnect, &QAction::toggled, this, &InstrumentSession::setAutoReconnect);
    connect(m_dismissErrors, &QAction::triggered, this, [this] {
        m_errorLines.clear();
        m_banner->clearRow(ErrorRow);
    });
    auto clear = [this](zelt::widget::Protection which) {
        if (m_window && m_window->parts().clearProtection)
            m_window->parts().clearProtection(which);
    };
    connect(m_clearOvp, &QAction::triggered, this, [clear] { clear(zelt::widget::Protection::OverVoltage); });
    connect(m_clearOcp, &QAction::triggered, this, [clear] { clear(zelt::widget::Protection::OverCurrent); });

    if (parts.queue) {
        QPointer<QAction> start = parts.start;
        m_monitor = new LinkMonitor(
            parts.queue,
            [start] {
                if (start)
                    start->trigger();
            },
            this);
        m_errors = new zelt::measure::ErrorQueueReader(parts.queue, this);
        connect(m_monitor, &LinkMonitor::changed, this, &InstrumentSession::onLinkChanged);
        connect(m_monitor, &LinkMonitor::answered, this, [this] {
            if (!std::exchange(m_everAnswered, true))
                Q_EMIT answered();
        });
        connect(parts.queue, &zelt::measure::MeasureInst::passCompleted, this, &InstrumentSession::onPass);
        connect(m_errors, &zelt::measure::ErrorQueueReader::instrumentError, this,
                &InstrumentSession::onInstrumentError);
        if (parts.start)
            connect(parts.start, &QAction::triggered, m_monitor, &LinkMonitor::noteStartAction);
        connect(m_reconnectNow, &QAction::triggered, m_monitor, &LinkMonitor::reconnectNow);
        connect(m_stopTrying, &QAction::triggered, m_monitor, &LinkMonitor::stopTrying);
    }
    bool const manual
        = m_info && QSettings().value(kManualReconnectKey).toStringList().contains(m_info->resource);
    {
        QSignalBlocker const quiet(m_autoReconnect); // the stored choice, not a new one
        m_autoReconnect->setChecked(!manual);
    }
    if (m_monitor)
        m_monitor->setAutoReconnect(!manual);
    onLinkChanged();
}

InstrumentSession::~InstrumentSession() = default;

zelt::widget::EquipmentWindow* InstrumentSession::window() const
{
    return m_window;
}

QString InstrumentSession::stateText() const
{
    if (!m_monitor)
        return QString();
    if (m_monitor->state() == LinkMonitor::State::Polling && m_monitor->isStale())
        return tr("No answer");
    return LinkMonitor::stateText(m_monitor->state());
}

double InstrumentSession::readingsPerSecond() const
{
    return m_monitor && m_monitor->state() == LinkMonitor::State::Polling ? m_monitor->readingsPerSecond()
                                                                          : 0.0;
}

bool InstrumentSession::outputOn() const
{
    if (!m_window || !m_window->parts().output)
        return false;
    return m_window->parts().output().outputOn;
}

bool InstrumentSession::autoReconnect() const
{
    return m_autoReconnect->isChecked();
}

void InstrumentSession::setAutoReconnect(bool on)
{
    if (m_autoReconnect->isChecked() != on)
        m_autoReconnect->setChecked(on); // comes back here through toggled()
    if (m_monitor && m_monitor->autoReconnect() != on)
        m_monitor->setAutoReconnect(on);
    if (!m_info)
        return;
    QSettings settings;
    QStringList manual = settings.value(kManualReconnectKey).toStringList();
    manual.removeAll(m_info->resource);
    if (!on)
        manual.append(m_info->resource);
    settings.setValue(kManualReconnectKey, manual);
}

void InstrumentSession::showNotice(QString const& text)
{
    if (text.isEmpty())
        m_banner->clearRow(StoreRow);
    else
        m_banner->setRow(StoreRow, LinkBanner::Level::Warning, text);
}

bool InstrumentSession::share(quint16 port, bool readOnly, QString* error)
{
    if (!m_window || !m_window->parts().queue) {
        if (error)
            *error = tr("This instrument cannot be shared.");
        return false;
    }
    if (!m_share) {
        m_share = new zelt::share::ScpiShareServer(m_window->parts().queue, this);
        connect(m_share, &zelt::share::ScpiShareServer::connectionsChanged, this, [this] {
            updateTitle();
            Q_EMIT changed();
        });
    }
    bool const ok = m_share->listen(port, readOnly);
    if (!ok && error)
        *error = m_share->errorString();
    if (!ok)
        unshare();
    m_shareAction->setChecked(ok);
    updateTitle();
    Q_EMIT changed();
    return ok;
}

void InstrumentSession::unshare()
{
    delete std::exchange(m_share, nullptr);
    m_shareAction->setChecked(false);
    updateTitle();
    Q_EMIT changed();
}

void InstrumentSession::showShareDialog()
{
    if (m_share) {
        unshare();
        return;
    }
    m_shareAction->setChecked(false);
    auto* dialog = new ShareDialog(5025, false, m_window);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        QString error;
        if (!share(dialog->port(), dialog->readOnly(), &error))
            QMessageBox::warning(m_window, tr("Share the instrument"), error);
    });
    dialog->open();
}

void InstrumentSession::onLinkChanged()
{
    if (!m_monitor) {
        updateTitle();
        return;
    }
    using State = LinkMonitor::State;
    State const state = m_monitor->state();
    QString text = m_monitor->describe();
    // The channel's own words name the resource and why it failed: said once, not wrapped again.
    if (state == State::Refused && m_info && m_monitor->cause().contains(m_info->resource))
        text = m_monitor->cause();
    if (state != State::Polling && state != State::Connecting && m_monitor->hasAnswered())
        text += QLatin1Char(' ')
            + tr("Last reading at %1.").arg(m_monitor->lastReading().toString(QStringLiteral("HH:mm:ss")));
    switch (state) {
    case State::Connecting:
        m_banner->setRow(LinkRow, LinkBanner::Level::Info, text);
        break;
    case State::Polling:
        if (m_monitor->isStale())
            m_banner->setRow(LinkRow, LinkBanner::Level::Warning, text);
        else
            m_banner->clearRow(LinkRow);
        break;
    case State::Stopped:
        m_banner->setRow(LinkRow, LinkBanner::Level::Info, text);
        break;
    case State::Lost:
    case State::Refused:
        m_banner->setRow(LinkRow, LinkBanner::Level::Error, text, {m_reconnectNow});
        break;
    case State::Reconnecting:
        m_banner->setRow(LinkRow, LinkBanner::Level::Error, text, {m_reconnectNow, m_stopTrying});
        break;
    }
    setDimmed(state != State::Polling || m_monitor->isStale());
    updateTitle();
    if (state == State::Refused && !m_everAnswered)
        Q_EMIT refused(text);
    Q_EMIT changed();
}

void InstrumentSession::onPass()
{
    updateProtection();
}

void InstrumentSession::onInstrumentError(int code, QString const& text, QString const& cause)
{
    ++m_instrumentErrors;
    m_errorLines.append(tr("%1,\"%2\" after %3").arg(code).arg(text, cause));
    while (m_errorLines.size() > kErrorLinesShown)
        m_errorLines.removeFirst();
    m_banner->setRow(ErrorRow, LinkBanner::Level::Warning,
                     tr("The instrument refused a setting: %1").arg(m_errorLines.join(QLatin1Char('\n'))),
                     {m_dismissErrors});
    Q_EMIT changed();
}

void InstrumentSession::updateProtection()
{
    if (!m_window || !m_window->parts().output)
        return;
    zelt::widget::OutputState const output = m_window->parts().output();
    if (output.overVoltageTripped != m_ovp) {
        m_ovp = output.overVoltageTripped;
        if (m_ovp)
            m_banner->setRow(OverVoltageRow, LinkBanner::Level::Error,
                             tr("Over-voltage protection (OVP) tripped: the output is off. Clear the trip "
                                "before switching the output on again."),
                             {m_clearOvp});
        else
            m_banner->clearRow(OverVoltageRow);
    }
    if (output.overCurrentTripped != m_ocp) {
        m_ocp = output.overCurrentTripped;
        if (m_ocp)
            m_banner->setRow(OverCurrentRow, LinkBanner::Level::Error,
                             tr("Over-current protection (OCP) tripped: the output is off. Clear the trip "
                                "before switching the output on again."),
                             {m_clearOcp});
        else
            m_banner->clearRow(OverCurrentRow);
    }
}

void InstrumentSession::updateTitle()
{
    if (!m_window || !m_info)
        return;
    QString title
        = m_info->resource.isEmpty() ? m_info->name : tr("%1 \u2014 %2").arg(m_info->name, m_info->resource);
    QString state = stateText();
    if (m_share && m_share->isListening()) {
        QString const shared = m_share->readOnly()
            ? tr("shared read-only on port %1 (%n client(s))", nullptr, m_share->connectionCount())
            : tr("shared on port %1 (%n client(s))", nullptr, m_share->connectionCount());
        state = tr("%1, %2").arg(state, shared.arg(m_share->port()));
    }
    if (!state.isEmpty())
        title = tr("%1 [%2]").arg(title, state);
    if (title != m_title) {
        m_title = title;
        m_window->setWindowTitle(title);
    }
}

void InstrumentSession::setDimmed(bool dimmed)
{
    QWidget* live = m_window ? m_window->parts().live.data() : nullptr;
    if (!live || dimmed == m_dimmed)
        return;
    m_dimmed = dimmed;
    if (dimmed) {
        // The last reading stays readable, but plainly not live.
        auto* effect = new QGraphicsOpacityEffect(live);
        effect->setOpacity(kDimmedOpacity);
        live->setGraphicsEffect(effect);
    } else {
        live->setGraphicsEffect(nullptr);
    }
}

} // namespace zelt::host
