#pragma once
// One quick-settings row, a voltage and a current to apply together, and the stored form of
// a list of rows: a big-endian count followed by each row's two doubles.

#include <QList>
#include <QSharedPointer>

class QDataStream;

struct DPData
{
    double voltage = 0.0; // volts
    double current = 0.0; // amperes
};

// Writes the count, then voltage and current of each row, as Qt streams a list of pairs of
// doubles: 4 + 16 n bytes. A null row is written as zeros, so that the length still holds.
QDataStream& operator<<(QDataStream& stream, QList<QSharedPointer<DPData>> const& datas);

// Reads what operator<< wrote. A count that the bytes left in the stream cannot hold, an
// escape count of 0xFFFFFFFF, or any short read leaves the list empty, and room for the
// rows is never reserved before they have been read.
QDataStream& operator>>(QDataStream& stream, QList<QSharedPointer<DPData>>& datas);
