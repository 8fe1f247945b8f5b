#pragma once
// Hands the rows of a sequence to whoever writes them to the instrument, one
// row per call of next(). It keeps no timer: the caller moves it on when the
// instrument has taken the previous row. ListUploader and DelayerUploader hold
// a copy of their rows.

#include "specific/programmerdata.h"
#include "specific/zelt_specific_export.h"

#include <QObject>

namespace zelt::specific::pxn3000s::programmer {

class ZELT_SPECIFIC_EXPORT ProgrammerUploader : public QObject
{
    Q_OBJECT
public:
    explicit ProgrammerUploader(QObject* parent = nullptr);

    // With true (the default) the uploader stops itself, emitting stoped(),
    // right after finished().
    void setStopWhenFinished(bool stop);
    bool stopWhenFinished() const { return m_stopWhenFinished; }

    // Begins a run from the first row and emits started() with the row count,
    // before it returns. A run with no rows reports error() at once. A call
    // while active changes nothing.
    void start();
    // From start() until stop().
    bool active() const { return m_active; }
    // While active: emits nextData() for the next row, and after the last row
    // finished(), once. Otherwise nothing.
    void next();
    // Ends an active run and emits stoped(); nothing when not active.
    void stop();

    virtual int count() const = 0;

Q_SIGNALS:
    void started(int count);
    void nextData(int index, zelt::specific::pxn3000s::programmer::ProgrammerData const& data);
    void finished();
    void error(QString const& text);
    void stoped();

protected:
    virtual ProgrammerData const& row(int index) const = 0;

private:
    int m_next = 0;
    bool m_active = false;
    bool m_finished = false;
    bool m_stopWhenFinished = true;
};

// The rows of one kind, copied at construction.
template<typename Row> class RowsUploader : public ProgrammerUploader
{
public:
    int count() const override { return int(m_rows.size()); }

protected:
    RowsUploader(QList<Row> const& rows, QObject* parent)
        : ProgrammerUploader(parent)
        , m_rows(rows)
    {
    }
    ProgrammerData const& row(int index) const override { return m_rows.at(index); }

private:
    QList<Row> const m_rows;
};

class ZELT_SPECIFIC_EXPORT ListUploader : public RowsUploader<ListData>
{
    Q_OBJECT
public:
    explicit ListUploader(QList<ListData> const& rows, QObject* parent = nullptr)
        : RowsUploader(rows, parent)
    {
    }
};

class ZELT_SPECIFIC_EXPORT DelayerUploader : public RowsUploader<DelayerData>
{
    Q_OBJECT
public:
    explicit DelayerUploader(QList<DelayerData> const& rows, QObject* parent = nullptr)
        : RowsUploader(rows, parent)
    {
    }
};

} // namespace zelt::specific::pxn3000s::programmer
