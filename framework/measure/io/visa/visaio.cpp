#include "measure/io/visa/visaio.h"
