#pragma once
// Runs and stops the instrument's list or delayer for the programmer dialog, and watches a run:
// while it goes, the instrument's state is asked twice a second and shown in the dialog. It
// also keeps an upload's first question alive across a change of power mode, which empties
// the driver's queue and the question with it.

#include <QObject>
#include <QPointer>
#include <QTimer>

class DialogProgrammer;
class MyDMM;
struct ListAndDelayer;

class SequenceRun : public QObject
{
    Q_OBJECT
public:
    SequenceRun(MyDMM* dmm, QObject* parent);

    // Takes the run and stop requests of a newly opened dialog.
    void attach(DialogProgrammer* dialog);

    // An upload of mode (0 list, 1 delayer) has asked the instrument's state. Until its first
    // read-back has come, a change of power mode makes it ask again.
    void uploadAsked(int mode);
    // The upload's first read-back came, or the upload ended.
    void uploadAnswered() { m_uploadMode = -1; }

    // A state answer (kind 1 or 3). True when it is the one a starting upload waits for;
    // otherwise it is shown as the progress of a run.
    bool stateArrived(ListAndDelayer const& state);

private:
    void run(int mode);
    void stop(int mode);
    void ask();
    void onPowerModeChanged();
    void show(int mode, ListAndDelayer const& state);

    MyDMM* m_dmm;
    QPointer<DialogProgrammer> m_dialog;
    QTimer m_refresh;
    int m_uploadMode = -1;
    bool m_uploadAsking = false;
    int m_watched = -1; // the mode whose run is watched, or -1
    bool m_asking = false; // a state question of the watch is in the queue
    bool m_stopAsked = false;
};
