#include "window/sequencerun.h"

#include "driver/dmmdata.h"
#include "driver/mydmm.h"
#include "programmer/dialogprogrammer.h"

#include <algorithm>

namespace {

constexpr int kRefreshMs = 500;

DialogProgrammer::UploadMode uploadMode(int mode)
{
    return mode == 0 ? DialogProgrammer::UploadList : DialogProgrammer::UploadDelayer;
}

} // namespace

SequenceRun::SequenceRun(MyDMM* dmm, QObject* parent)
    : QObject(parent)
    , m_dmm(dmm)
{
    m_refresh.setInterval(kRefreshMs);
    connect(&m_refresh, &QTimer::timeout, this, &SequenceRun::ask);
    connect(m_dmm, &MyDMM::powerModeChanged, this, &SequenceRun::onPowerModeChanged);
}

void SequenceRun::attach(DialogProgrammer* dialog)
{
    // A watch of an earlier dialog ends here: its answers no longer reach this object.
    m_refresh.stop();
    m_watched = -1;
    m_asking = false;
    m_dialog = dialog;
    connect(dialog, &DialogProgrammer::sequenceRunRequested, this, [this](int mode) { run(mode); });
    connect(dialog, &DialogProgrammer::sequenceStopRequested, this, [this](int mode) { stop(mode); });
}

void SequenceRun::uploadAsked(int mode)
{
    m_uploadMode = mode;
    m_uploadAsking = true;
}

bool SequenceRun::stateArrived(ListAndDelayer const& state)
{
    int const mode = state.kind == 1 ? 0 : 1;
    if (mode == m_uploadMode && m_uploadAsking) {
        m_uploadAsking = false;
        return true;
    }
    if (mode != m_watched)
        return false;
    m_asking = false;
    show(mode, state);
    return false;
}

void SequenceRun::run(int mode)
{
    if (!m_dmm->active()) {
        if (m_dialog)
            m_dialog->showError(tr("The instrument is not connected"), 3000);
        return;
    }
    mode == 0 ? m_dmm->cmdListRun(true) : m_dmm->cmdDelayRun(true);
    m_watched = mode;
    m_stopAsked = false;
    ask();
    m_refresh.start();
}

void SequenceRun::stop(int mode)
{
    mode == 0 ? m_dmm->cmdListRun(false) : m_dmm->cmdDelayRun(false);
    // Also a run begun at the front panel: the next answer tells that it stopped.
    if (m_watched != mode)
        m_asking = false;
    m_watched = mode;
    m_stopAsked = true;
    ask();
    m_refresh.start();
}

void SequenceRun::ask()
{
    if (!m_dialog) {
        m_refresh.stop();
        m_watched = -1;
        return;
    }
    if (m_watched < 0 || m_asking || !m_dmm->active())
        return;
    m_asking = true;
    m_watched == 0 ? m_dmm->listQueryOptions() : m_dmm->delayQueryOptions();
}

void SequenceRun::onPowerModeChanged()
{
    // The queue was emptied: questions that were waiting in it will never be answered.
    m_asking = false;
    if (m_uploadMode < 0)
        return;
    m_uploadAsking = true;
    m_uploadMode == 0 ? m_dmm->listQueryOptions() : m_dmm->delayQueryOptions();
}

void SequenceRun::show(int mode, ListAndDelayer const& state)
{
    if (!m_dialog) {
        m_refresh.stop();
        m_watched = -1;
        return;
    }
    if (state.running) {
        DialogProgrammer::SequenceState shown;
        shown.rows = state.count;
        shown.row = state.stateNumber - state.start + 1;
        shown.cycles = state.cycles;
        // The driver keeps the cycles done; the one in progress is the next.
        shown.cycle = state.cycles > 0 ? std::min(state.stateCount + 1, state.cycles) : state.stateCount + 1;
        shown.value = state.listValue;
        shown.endState = state.endState;
        m_dialog->showSequenceState(uploadMode(mode), shown);
        return;
    }
    m_refresh.stop();
    m_watched = -1;
    bool const finished = !m_stopAsked && state.cycles > 0 && state.stateCount >= state.cycles;
    m_dialog->showSequenceEnd(uploadMode(mode), finished);
}
