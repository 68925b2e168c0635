#include "tests/faults/Operations.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace zelkcam::faults {

namespace {

void importBuffer(int32_t format, Stage& stage) {
    aidl::android::hardware::graphics::allocator::BufferDescriptorInfo info;
    info.width = 64;
    // A blob has one row.
    info.height = format == kBlob ? 1 : 32;
    info.layerCount = 1;
    info.format = static_cast<decltype(info.format)>(format);
    info.usage = static_cast<decltype(info.usage)>(kCpu);
    if (!realAllocator()->allocate2(info, 1, &stage.allocation).isOk()) {
        abort();
    }
    stage.raw = android::makeFromAidl(stage.allocation.buffers.at(0));
    if (realMapper().importBuffer(stage.raw, &stage.buffer) != AIMAPPER_ERROR_NONE) {
        abort();
    }
}

int undoLocks(buffer_handle_t buffer) {
    int locks = 0;
    for (int fence = -1; realMapper().unlock(buffer, &fence) == AIMAPPER_ERROR_NONE; ++locks) {
        fence = -1;
    }
    return locks;
}

}  // namespace

void setStage(const Operation& operation, Stage& stage) {
    operation.prepare();
    if (operation.format != 0) {
        importBuffer(operation.format, stage);
    }
    if (operation.withFence) {
        stage.fence = newFence();
    }
    void* address = nullptr;
    if (operation.locked && realMapper().lock(stage.buffer, 3, {}, -1, &address) != 0) {
        abort();
    }
}

int clearStage(Stage& stage) {
    const int locks = stage.buffer != nullptr ? undoLocks(stage.buffer) : 0;
    if (stage.buffer != nullptr) {
        realMapper().freeBuffer(stage.buffer);
    }
    if (stage.raw != nullptr) {
        native_handle_delete(stage.raw);
    }
    stage = {};
    return locks;
}

}  // namespace zelkcam::faults
