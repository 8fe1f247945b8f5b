#include "measure/io/ioequipinfo.h"
