#include "measure/io/visa/visaequipinfo.h"
