// The token utility library's units are added beside this file.
#include "morlin_util.h"
