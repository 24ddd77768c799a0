// The same for all tests.
#include "Headers.h"

#include <gtest/gtest.h>
