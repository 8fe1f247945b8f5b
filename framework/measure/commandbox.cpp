#include "measure/commandbox.h"
