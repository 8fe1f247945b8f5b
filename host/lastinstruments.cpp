#include "host/lastinstruments.h"

#include <QSettings>

namespace zelt::host {

namespace {
QString const kArray = QStringLiteral("lastInstruments");
QString const kFamily = QStringLiteral("family");
QString const kModel = QStringLiteral("model");
QString const kName = QStringLiteral("name");
QString const kResource = QStringLiteral("resource");
QString const kSimulated = QStringLiteral("simulated");
} // namespace

QList<ConnectRequest> LastInstruments::load()
{
    QSettings settings;
    QList<ConnectRequest> requests;
    int const count = settings.beginReadArray(kArray);
    for (int i = 0; i < count; ++i) {
        settings.setArrayIndex(i);
        ConnectRequest request;
        request.family = settings.value(kFamily).toString();
        request.model = settings.value(kModel).toString();
        request.name = settings.value(kName).toString();
        request.resource = settings.value(kResource).toString();
        request.simulated = settings.value(kSimulated).toBool();
        if (!request.model.isEmpty())
            requests.append(request);
    }
    settings.endArray();
    return requests;
}

void LastInstruments::save(QList<ConnectRequest> const& requests)
{
    QSettings settings;
    settings.beginWriteArray(kArray, int(requests.size()));
    for (int i = 0; i < requests.size(); ++i) {
        ConnectRequest const& request = requests.at(i);
        settings.setArrayIndex(i);
        settings.setValue(kFamily, request.family);
        settings.setValue(kModel, request.model);
        settings.setValue(kName, request.name);
        settings.setValue(kResource, request.simulated ? QString() : request.resource);
        settings.setValue(kSimulated, request.simulated);
    }
    settings.endArray();
}

} // namespace zelt::host
