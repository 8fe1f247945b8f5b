#include "widget/linkbanner.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace zelt::widget {

namespace {
QString styleOf(LinkBanner::Level level)
{
    // Light backgrounds with dark text read well on any theme's window colour.
    switch (level) {
    case LinkBanner::Level::Error:
        return QStringLiteral("QFrame#bannerRow{background:#f8d7da;border:1px solid #d9534f;}"
                              "QLabel{color:#58151c;}");
    case LinkBanner::Level::Warning:
        return QStringLiteral("QFrame#bannerRow{background:#fff3cd;border:1px solid #e0a800;}"
                              "QLabel{color:#533f03;}");
    case LinkBanner::Level::Info:
        break;
    }
    return QStringLiteral("QFrame#bannerRow{background:#dbe9f6;border:1px solid #5b8fc7;}"
                          "QLabel{color:#0b2e4f;}");
}
} // namespace

LinkBanner::LinkBanner(QWidget* parent)
    : QFrame(parent)
    , m_layout(new QVBoxLayout(this))
{
    setObjectName(QStringLiteral("linkBanner"));
    m_layout->setContentsMargins(0, 0, 0, 2);
    m_layout->setSpacing(2);
    hide();
}

void LinkBanner::setRow(int key, Level level, QString const& text, QList<QAction*> const& actions)
{
    Row& row = m_rows[key];
    if (!row.frame) {
        row.frame = new QFrame(this);
        row.frame->setObjectName(QStringLiteral("bannerRow"));
        auto* layout = new QHBoxLayout(row.frame);
        layout->setContentsMargins(8, 3, 4, 3);
        row.label = new QLabel(row.frame);
        row.label->setWordWrap(true);
        row.label->setTextFormat(Qt::PlainText);
        row.label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(row.label, 1);
        row.buttons = new QHBoxLayout;
        layout->addLayout(row.buttons);
        // Rows stay in the order of their keys: the link first, then the rest.
        int index = 0;
        for (auto it = m_rows.cbegin(); it != m_rows.cend(); ++it) {
            if (it.key() < key && it->frame && it->frame != row.frame)
                ++index;
        }
        m_layout->insertWidget(index, row.frame);
        row.level = level;
        row.frame->setStyleSheet(styleOf(level));
    } else if (row.level != level) {
        row.level = level;
        row.frame->setStyleSheet(styleOf(level));
    }
    row.label->setText(text);
    // The buttons are rebuilt only when the set of actions changes.
    QList<QAction*> current;
    for (int i = 0; i < row.buttons->count(); ++i) {
        if (auto* button = qobject_cast<QToolButton*>(row.buttons->itemAt(i)->widget()))
            current << button->defaultAction();
    }
    if (current != actions) {
        while (QLayoutItem* item = row.buttons->takeAt(0)) {
            delete item->widget();
            delete item;
        }
        for (QAction* action : actions) {
            auto* button = new QToolButton(row.frame);
            button->setDefaultAction(action);
            row.buttons->addWidget(button);
        }
    }
    show();
}

void LinkBanner::clearRow(int key)
{
    auto it = m_rows.find(key);
    if (it == m_rows.end())
        return;
    delete it->frame;
    m_rows.erase(it);
    if (m_rows.isEmpty())
        hide();
}

QString LinkBanner::rowText(int key) const
{
    auto it = m_rows.constFind(key);
    return it == m_rows.cend() ? QString() : it->label->text();
}

} // namespace zelt::widget
