#pragma once
// Answers the modal dialogs that the code under test shows, as a user would.

#include <QtWidgets>

// Answers the modal dialogs in turn: a file dialog with the next name (an empty one
// cancels), a message box with the next button (Cancel closes it). Once the answers are used
// up, a box gets OK and a file dialog is cancelled. Each box is kept as "Icon [title] text".
class DialogScript : public QObject
{
public:
    explicit DialogScript(QVariantList answers = {})
        : m_answers(std::move(answers))
    {
        m_timer.setInterval(10);
        connect(&m_timer, &QTimer::timeout, this, &DialogScript::answer);
        m_timer.start();
    }

    QStringList shown;

private:
    void answer()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        QVariant const next = m_answers.isEmpty() ? QVariant() : m_answers.takeFirst();
        if (auto* files = qobject_cast<QFileDialog*>(modal)) {
            if (next.toString().isEmpty())
                return files->reject();
            files->selectFile(next.toString());
            // selectFile() leaves a name field that has the focus alone: type the name as a user does.
            if (auto* name = files->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")))
                name->setText(next.toString());
            static_cast<QDialog*>(files)->accept();
            // A directory still loading can clear the name just typed: the dialog then stays
            // open and gets the same name again on the next tick, a few times at most.
            if (files->isVisible() && ++m_retries < 50)
                m_answers.prepend(next);
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            shown << QStringLiteral("%1 [%2] %3")
                         .arg(QLatin1String(QMetaEnum::fromType<QMessageBox::Icon>().valueToKey(box->icon())),
                              box->windowTitle(), box->text());
            auto const button = QMessageBox::StandardButton(next.isValid() ? next.toInt() : QMessageBox::Ok);
            QAbstractButton* pressed = box->button(button);
            pressed ? pressed->click() : box->reject();
        }
    }

    QVariantList m_answers;
    QTimer m_timer;
    int m_retries = 0;
};
