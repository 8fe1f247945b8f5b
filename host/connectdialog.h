#pragma once
// The dialog in which the user picks an instrument: family, model, a name, and
// either a VISA resource string or the simulated instrument.

#include "widget/equipmentinfo.h"
#include "widget/modelinfo.h"

#include <QDialog>
#include <QList>
#include <QSharedPointer>
#include <QStringList>

#include <functional>

namespace Ui {
class ConnectDialog;
}

namespace zelt::host {

struct ConnectRequest
{
    QString family;
    QString model;
    QString name;
    QString resource; // empty for the simulated instrument
    bool simulated = false;
};

class ConnectDialog : public QDialog
{
    Q_OBJECT
public:
    // Lists the instruments reachable from this computer; VisaIO::findResources() by default.
    using ResourceFinder = std::function<QStringList()>;

    explicit ConnectDialog(QList<zelt::widget::ModelInfo> const& families, QWidget* parent = nullptr,
                           ResourceFinder finder = {});
    ~ConnectDialog() override;

    // Preselects a model (of the first family that has it) and the kind of connection.
    void select(QString const& model, bool simulated);

    ConnectRequest request() const;
    // The equipment of an accepted dialog for a real instrument: a VisaEquipInfo
    // with the model and a VisaIO on the resource. Null for the simulated one,
    // whose resource the host knows only once it runs.
    QSharedPointer<zelt::widget::EquipmentInfo> equipmentInfo() const;

    // The resources used last, newest first, as kept in the settings.
    static QStringList recentResources();
    static constexpr int kRecentResourceCount = 10;

public Q_SLOTS:
    void accept() override;

private:
    void fillModels();
    void updatePicture();
    void updateSimulated();
    void remember(QString const& resource);
    // Offers what the finder lists now below the recent resources, keeping the typed text.
    void refreshFound();

    Ui::ConnectDialog* ui;
    QList<zelt::widget::ModelInfo> m_families;
    ResourceFinder m_finder;
    int m_recentCount = 0;
};

} // namespace zelt::host
