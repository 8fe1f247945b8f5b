#include "measure/qvaluebox.h"
