#include "measure/instrument.h"
