#include "util/word.h"
