#include "measure/measureinst.h"
