#include "util/commandhandler.h"
