#include "measure/wordbox.h"
