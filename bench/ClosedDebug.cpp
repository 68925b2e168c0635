// One debug statement and nothing else. scripts/bench --assembly shows what it is compiled to.
#include "utils/gralloc/Log.h"

namespace {

constexpr char kLogTag[] = "ZelkCam/Bench";

}  // namespace

// What the argument would cost is seen at once if it were evaluated outside the gate.
int costlyArgument();

void statement() {
    LOGD("%d", costlyArgument());
}
