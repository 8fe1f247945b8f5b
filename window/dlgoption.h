#pragma once
// The sampling options of the window's recording: how many samples at most, and how often.
// The caller reads and writes the form's widgets through ui.

#include <QDialog>

class Ui_DlgOption;

class DlgOption : public QDialog
{
    Q_OBJECT
public:
    explicit DlgOption(QWidget* parent = nullptr);
    ~DlgOption() override;

    Ui_DlgOption* ui;

private Q_SLOTS:
    void on_spinSamplePoints_valueChanged(int value);
    void on_cbInfinite_toggled(bool checked);
};
