#include "specific/programmeruploader.h"

namespace zelt::specific::pxn3000s::programmer {

ProgrammerUploader::ProgrammerUploader(QObject* parent)
    : QObject(parent)
{
}

void ProgrammerUploader::setStopWhenFinished(bool stop)
{
    m_stopWhenFinished = stop;
}

void ProgrammerUploader::start()
{
    if (m_active)
        return;
    m_active = true;
    m_finished = false;
    m_next = 0;
    int const n = count();
    Q_EMIT started(n);
    // A receiver of started() may have stopped the run already.
    if (m_active && n == 0)
        Q_EMIT error(tr("There are no rows to upload."));
}

void ProgrammerUploader::next()
{
    if (!m_active || m_finished)
        return;
    if (m_next < count()) {
        int const index = m_next++;
        Q_EMIT nextData(index, row(index));
        return;
    }
    m_finished = true;
    Q_EMIT finished();
    if (m_stopWhenFinished)
        stop();
}

void ProgrammerUploader::stop()
{
    if (!m_active)
        return;
    m_active = false;
    Q_EMIT stoped();
}

} // namespace zelt::specific::pxn3000s::programmer
