#include "quicksettings/dpdata.h"

#include <QDataStream>
#include <QIODevice>

namespace {

// Streams of Qt 6.7 and later (QDataStream::Qt_6_7) write a count of 0xFFFFFFFE or more as
// this escape value followed by a 64-bit count.
constexpr int kExtendedSizeVersion = 22;
constexpr quint32 kExtendedSize = 0xFFFFFFFE;
constexpr quint32 kNullSize = 0xFFFFFFFF;
constexpr qint64 kRowBytes = 2 * sizeof(double);

} // namespace

QDataStream& operator<<(QDataStream& stream, QList<QSharedPointer<DPData>> const& datas)
{
    quint64 const size = quint64(datas.size());
    if (size < kExtendedSize) {
        stream << quint32(size);
    } else if (stream.version() >= kExtendedSizeVersion) {
        stream << kExtendedSize << qint64(size);
    } else {
        stream.setStatus(QDataStream::WriteFailed);
        return stream;
    }
    for (QSharedPointer<DPData> const& data : datas) {
        if (data)
            stream << data->voltage << data->current;
        else
            stream << 0.0 << 0.0;
    }
    return stream;
}

QDataStream& operator>>(QDataStream& stream, QList<QSharedPointer<DPData>>& datas)
{
    datas.clear();
    quint32 count32 = 0;
    stream >> count32;
    qint64 count = count32;
    if (count32 == kExtendedSize && stream.version() >= kExtendedSizeVersion)
        stream >> count;
    if (stream.status() != QDataStream::Ok || count32 == kNullSize || count < 0)
        return stream;

    // A damaged value may claim far more rows than it holds: believe only the bytes present.
    QIODevice* device = stream.device();
    if (device && !device->isSequential() && count > device->bytesAvailable() / kRowBytes) {
        stream.setStatus(QDataStream::ReadPastEnd);
        return stream;
    }
    for (qint64 i = 0; i < count; ++i) {
        auto data = QSharedPointer<DPData>::create();
        stream >> data->voltage >> data->current;
        if (stream.status() != QDataStream::Ok) {
            datas.clear();
            break;
        }
        datas.append(data);
    }
    return stream;
}
