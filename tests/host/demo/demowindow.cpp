#include "tests/host/demo/demowindow.h"

#include "measure/io/abstractio.h"
#include "measure/io/visa/visaequipinfo.h"

#include <QFormLayout>
#include <QLabel>
#include <QTimer>

DemoWindow::DemoWindow(QSharedPointer<zelt::widget::EquipmentInfo> const& info, QWidget* parent)
    : zelt::widget::EquipmentWindow(info, parent)
    , m_identity(new QLabel(tr("connecting...")))
{
    auto* body = new QWidget;
    auto* form = new QFormLayout(body);
    auto visa = info->ioInfo.dynamicCast<zelt::measure::io::visa::VisaEquipInfo>();
    form->addRow(tr("Name:"), new QLabel(info->name));
    form->addRow(tr("Model:"), new QLabel(visa ? visa->modelName : tr("unknown")));
    form->addRow(tr("Resource:"), new QLabel(info->resource));
    form->addRow(tr("Identity:"), m_identity);
    setWidget(body);
    setWindowTitle(info->name);
    resize(420, 160);

    if (visa && visa->io) {
        auto* io = visa->io.data();
        connect(io, &zelt::measure::io::AbstractIO::opened, this, [io] { io->write("*IDN?\n"); });
        connect(io, &zelt::measure::io::AbstractIO::dataReceived, this,
                [this](QByteArray const& data) { m_identity->setText(QString::fromLatin1(data).trimmed()); });
        connect(io, &zelt::measure::io::AbstractIO::errorOccurred, this,
                [this](QString const& message) { m_identity->setText(message); });
        io->open();
    }
    QTimer::singleShot(0, this, [this] { Q_EMIT opened(equipment()); });
}
