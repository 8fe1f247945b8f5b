#include "window/dlgoption.h"
#include "ui_dlgoption.h"

DlgOption::DlgOption(QWidget* parent)
    : QDialog(parent)
    , ui(new Ui_DlgOption)
{
    ui->setupUi(this);
}

DlgOption::~DlgOption()
{
    delete ui;
}

void DlgOption::on_spinSamplePoints_valueChanged(int)
{
}

void DlgOption::on_cbInfinite_toggled(bool checked)
{
    // The limit means nothing while the recording is endless.
    ui->spinSamplePoints->setEnabled(!checked);
}
