#include "store/TestRoot.h"
