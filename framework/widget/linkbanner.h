#pragma once
// A band across the top of an instrument's window that says what the user must
// know about it: a lost link, a tripped protection, an error of the instrument.
// Each subject is one row of its own, with its buttons; the band hides when no
// row is left.

#include "widget/zelt_widget_export.h"

#include <QFrame>
#include <QHash>
#include <QList>

class QAction;
class QHBoxLayout;
class QLabel;
class QVBoxLayout;

namespace zelt::widget {

class ZELT_WIDGET_EXPORT LinkBanner : public QFrame
{
    Q_OBJECT
public:
    enum class Level { Info, Warning, Error };

    explicit LinkBanner(QWidget* parent = nullptr);

    // Shows or replaces the row of key. The actions become buttons; the banner
    // does not own them.
    void setRow(int key, Level level, QString const& text, QList<QAction*> const& actions = {});
    void clearRow(int key);
    bool hasRow(int key) const { return m_rows.contains(key); }
    // The row's text, empty when there is none.
    QString rowText(int key) const;

private:
    struct Row
    {
        QFrame* frame = nullptr;
        QLabel* label = nullptr;
        QHBoxLayout* buttons = nullptr;
        Level level = Level::Info;
    };

    QVBoxLayout* m_layout;
    QHash<int, Row> m_rows;
};

} // namespace zelt::widget
