#pragma once
// Logs every row an instrument window's recorded table gains into the session store.
// It follows the table the view shows (the window swaps it with the power mode), and
// takes a Clear, a swap or new columns as the start of a new segment.

#include "store/storetypes.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

class QAbstractItemModel;
class QAbstractItemView;

namespace zelt::store {
class SessionStore;
}

namespace zelt::host {

class SessionRecorder : public QObject
{
    Q_OBJECT
public:
    // The session begins with the first row; it ends when the recorder goes (with the
    // view, its parent).
    SessionRecorder(zelt::store::SessionStore* store, QAbstractItemView* view,
                    zelt::store::SessionHeader header);
    ~SessionRecorder() override;

    SessionRecorder(SessionRecorder const&) = delete;
    SessionRecorder& operator=(SessionRecorder const&) = delete;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow();
    void rowsAdded(int first, int last);
    QStringList columns() const;

    QPointer<zelt::store::SessionStore> m_store;
    QPointer<QAbstractItemView> m_view;
    QPointer<QAbstractItemModel> m_model;
    zelt::store::SessionHeader m_header;
    quint64 m_session = 0;
    QStringList m_columns;
    bool m_newSegment = false;
};

} // namespace zelt::host
