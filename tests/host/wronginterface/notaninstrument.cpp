#include "notaninstrument.h"

NotAnInstrument::NotAnInstrument(QObject* parent)
    : QObject(parent)
{
}
