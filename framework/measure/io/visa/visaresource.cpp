#include "measure/io/visa/visaresource.h"
