// A source file of its own: the call is not to be inlined.
#include "utils/gralloc/Log.h"

namespace {

constexpr char kLogTag[] = "ZelkCam/Budget";

}  // namespace

void closedStatement() {
    LOGD("%d", 1);
}
