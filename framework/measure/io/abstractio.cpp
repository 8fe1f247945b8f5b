#include "measure/io/abstractio.h"
