#include "tests/host/wronginterface/notaninstrument.h"

NotAnInstrument::NotAnInstrument(QObject* parent)
    : QObject(parent)
{
}
