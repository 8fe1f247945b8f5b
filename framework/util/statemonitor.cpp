#include "util/statemonitor.h"
