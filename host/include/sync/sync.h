// The older path of <android/sync.h>.
#pragma once

#include <android/sync.h>
