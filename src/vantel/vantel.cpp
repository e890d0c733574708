#include "src/vantel/instance.h"
