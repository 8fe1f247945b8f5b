#include "host/sharedialog.h"
#include "ui_sharedialog.h"

namespace zelt::host {

ShareDialog::ShareDialog(quint16 port, bool readOnly, QWidget* parent)
    : QDialog(parent)
    , ui(new Ui_ShareDialog)
{
    ui->setupUi(this);
    ui->spinPort->setValue(port);
    ui->checkReadOnly->setChecked(readOnly);
    connect(ui->spinPort, &QSpinBox::valueChanged, this, &ShareDialog::updateExample);
    updateExample();
}

ShareDialog::~ShareDialog()
{
    delete ui;
}

quint16 ShareDialog::port() const
{
    return quint16(ui->spinPort->value());
}

bool ShareDialog::readOnly() const
{
    return ui->checkReadOnly->isChecked();
}

void ShareDialog::updateExample()
{
    ui->labelExample->setText(
        tr("PyVISA: TCPIP::127.0.0.1::%1::SOCKET\nlxi: lxi scpi --raw -a 127.0.0.1 -p %1 '*IDN?'")
            .arg(ui->spinPort->value()));
}

} // namespace zelt::host
