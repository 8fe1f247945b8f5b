#pragma once
// The history table's row header. Its sections have no text of their own and all look alike,
// so the hint of the first ones holds however many rows come; QHeaderView measures up to 200
// sections again after each inserted row.

#include <QHeaderView>
#include <QSize>

class RecordRowHeader : public QHeaderView
{
    Q_OBJECT
public:
    explicit RecordRowHeader(QWidget* parent = nullptr);
    ~RecordRowHeader() override;

    void setModel(QAbstractItemModel* model) override;
    QSize sizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;

private:
    void forgetHint();

    mutable QSize m_hint;
    mutable bool m_hintEmpty = true; // the hint is that of a header without sections
};
