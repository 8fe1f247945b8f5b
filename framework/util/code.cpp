#include "util/code.h"
