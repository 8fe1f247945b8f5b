#include "util/character.h"
