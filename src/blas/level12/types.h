// What the level-1 and level-2 sources take from the library's vocabulary: the element types and
// their arithmetic (common/scalar.h) and the option readers (common/options.h).
#pragma once
#include "common/options.h"
#include "common/scalar.h"
