#pragma once
// The settings of one upload or file operation of the programmer. Global by
// name, as the instrument windows that use it know it.

#include <QMetaType>
#include <QString>

struct UploadParam
{
    qint32 mode = 0; // 0 list, 1 delayer
    qint32 channel = 1; // 1-based; travels with the record, no command takes it
    qint32 start = 0; // first memory row on the instrument
    qint32 groups = 0; // row count
    qint32 cycles = 0; // 0 runs without end
    QString endState; // "OFF", "ON" or, for a delayer, "LAST"
    QString stopRule; // delayer only: the stop condition or "None"
};

Q_DECLARE_METATYPE(UploadParam)
