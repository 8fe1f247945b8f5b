// QCustomPlot for this project's sources, which are built with QT_NO_KEYWORDS:
// Debian's qcustomplot.h spells signals and foreach with the bare keywords.
#pragma once

#ifdef QT_NO_KEYWORDS
#define signals Q_SIGNALS
#define foreach Q_FOREACH
#include <qcustomplot.h>
#undef foreach
#undef signals
#else
#include <qcustomplot.h>
#endif
