// The HIDL value types, the outcome of calls, the binary form of the interfaces, thread state.
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <aidl/android/hardware/graphics/common/Dataspace.h>
#include <aidl/android/hardware/graphics/common/HardwareBufferDescription.h>
#include <aidl/android/hardware/graphics/common/Transform.h>
#include <gtest/gtest.h>

#include "platform/hidl.h"
#include "platform/hwbinder.h"
#include "tests/host/Handles.h"
#include "tests/support/Holdings.h"
#include "tests/support/Slots.h"

namespace zelkcam::test {
namespace {

using android::sp;
using android::hardware::hidl_array;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::IPCThreadState;
using android::hardware::Return;
using android::hardware::Status;
using android::hardware::toString;
using android::hardware::graphics::mapper::V4_0::Error;
using android::hardware::graphics::mapper::V4_0::IMapper;
using android::hidl::base::V1_0::IBase;
using HidlAllocator = android::hardware::graphics::allocator::V4_0::IAllocator;

namespace aidl = ::aidl::android::hardware::graphics::common;
namespace V1_0 = android::hardware::graphics::common::V1_0;
namespace V1_2 = android::hardware::graphics::common::V1_2;

// Two descriptors that the test owns, and a check that nobody else closed or kept any.
class HidlHandle : public testing::Test {
  protected:
    ~HidlHandle() override {
        EXPECT_EQ(extra(), 0) << "descriptors leaked, or the test's were closed";
    }
    long extra() const { return holdings().descriptors - mBefore - 2; }

  private:
    const long mBefore = holdings().descriptors;

  protected:
    const OwnedHandle owned{newHandle(2, {77})};
    native_handle_t* const raw = owned.get();
};

TEST_F(HidlHandle, CopiesOwnDescriptorsOfTheirOwn) {
    hidl_handle source(raw);
    const hidl_handle reference(std::move(source));
    EXPECT_EQ(reference.getNativeHandle(), raw);
    EXPECT_EQ(source.getNativeHandle(), nullptr);
    hidl_handle copy(reference);
    ASSERT_NE(copy.getNativeHandle(), raw);
    EXPECT_NE(copy->data[0], raw->data[0]);
    EXPECT_EQ(copy->data[2], 77);
    EXPECT_EQ(extra(), 2);

    copy = reference;  // what it held is closed
    hidl_handle& self = copy;
    copy = self;
    EXPECT_EQ(extra(), 2);

    hidl_handle moved;
    moved = std::move(copy);  // ownership goes along
    EXPECT_EQ(copy.getNativeHandle(), nullptr);
    moved.setTo(newHandle(2, {}), true);
    EXPECT_EQ(extra(), 2);
    moved.setTo(raw);
    EXPECT_EQ(extra(), 0);
}

struct Counted {
    Counted() { ++alive; }
    Counted(const Counted&) { ++alive; }
    ~Counted() { --alive; }
    static inline int alive = 0;
};

TEST(HidlVec, OwnsOnlyWhatItIsGiven) {
    {
        auto outside = std::make_unique<Counted[]>(2);
        hidl_vec<Counted> values(3);
        values.setToExternal(outside.get(), 2);
        EXPECT_EQ(Counted::alive, 2) << "what was owned is gone";
        values = std::vector<Counted>(1);
        EXPECT_EQ(Counted::alive, 3);
        values.setToExternal(new Counted[4], 4, true);
        EXPECT_EQ(Counted::alive, 6);
        const hidl_vec<Counted> target(std::move(values));
        EXPECT_EQ(values.data(), target.data()) << "the source still looks at the elements";
    }
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_DEATH(hidl_vec<uint8_t>().setToExternal(nullptr, size_t{1} << 32), "");
}

TEST(HidlVec, WithoutElementsHasDataOnlyFromWhatAllocates) {
    const hidl_vec<int> empty(0);
    const hidl_vec<int> list = std::initializer_list<int>{};
    EXPECT_NE(empty.data(), nullptr);
    EXPECT_NE(list.data(), nullptr);
    EXPECT_EQ(hidl_vec<int>(list).data(), nullptr);
    EXPECT_EQ(hidl_vec<int>(std::vector<int>()).data(), nullptr);
}

Return<Error> failed() {
    return Status::fromStatusT(android::DEAD_OBJECT);
}

TEST(HidlReturn, ValueOfAFailedCallEndsTheProcess) {
    const Return<Error> call = failed();
    EXPECT_FALSE(call.isOk());
    EXPECT_TRUE(call.isDeadObject());
    EXPECT_EQ(call.withDefault(Error::BAD_VALUE), Error::BAD_VALUE);
    EXPECT_DEATH({ [[maybe_unused]] Error taken = call; }, "DEAD_OBJECT");
    const Return<sp<IBase>> object = Status::fromExceptionCode(Status::EX_NULL_POINTER, "why");
    EXPECT_FALSE(object.isOk());
    EXPECT_DEATH({ [[maybe_unused]] sp<IBase> taken = object; }, "EX_NULL_POINTER.*why");
}

TEST(HidlReturn, AFailureThatNobodyLooksAtEndsTheProcess) {
    EXPECT_DEATH(failed(), "DEAD_OBJECT");
    EXPECT_DEATH(
            {
                Return<Error> call = failed();
                call = Return<Error>(Error::NONE);
            },
            "DEAD_OBJECT");
    Return<Error> first = failed();
    const Return<Error> second = std::move(first);  // only the target counts
    EXPECT_FALSE(second.isOk());
}

TEST(Texts, AreThePublishedOnes) {
    native_handle_t* const pointer = reinterpret_cast<native_handle_t*>(0x1230);
    const hidl_array<int, 2, 1, 2> cube({{{{{0, 1}}}, {{{2, 3}}}}});
    const struct {
        std::string text;
        const char* expected;
    } cases[] = {
            {toString(hidl_vec<Error>{Error::BAD_BUFFER, Error(0x999)}), "[2]{BAD_BUFFER, 0x999}"},
            {toString(cube), "[2][1][2]{{{0, 1}}, {{2, 3}}}"},
            {toString(hidl_memory("m", pointer, 4)),
             "memory {.name = \"m\", .size = 4, .handle = 0x1230}"},
            {toString(IMapper::Rect{1, 2, -3, 4}),
             "{.left = 1, .top = 2, .width = -3, .height = 4}"},
            {toString(V1_2::HardwareBuffer{}),
             "{.description = [10]{0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, .nativeHandle = 0}"},
            {V1_0::toString<V1_0::Hdr>(0), " (0)"},
            {V1_0::toString<V1_0::Transform>(12), "ROT_90 | 0x8 (0xc)"},
            {V1_2::toString<V1_2::BufferUsage>(uint64_t{0x20}),
             "CPU_READ_NEVER | CPU_WRITE_NEVER | CPU_WRITE_RARELY (0x20)"},
            {aidl::HardwareBufferDescription{.width = -1}.toString(),
             "HardwareBufferDescription{width: -1, height: 0, layers: 0, format: UNSPECIFIED, "
             "usage: CPU_READ_NEVER, stride: 0}"},
            {toString(aidl::Dataspace::DISPLAY_P3_LINEAR), "DCI_P3_LINEAR"},
            {toString(aidl::Transform(5)), "5"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(text, expected);
    }
}

TEST(Interfaces, HaveTheirOperationsInThePublishedSlots) {
    expectSlots(0, &IBase::isRemote, &IBase::interfaceChain, &IBase::debug,
                &IBase::interfaceDescriptor, &IBase::getHashChain, &IBase::setHALInstrumentation,
                &IBase::linkToDeath, &IBase::ping, &IBase::getDebugInfo,
                &IBase::notifySyspropsChanged, &IBase::unlinkToDeath);
    expectSlots(13, &IMapper::createDescriptor, &IMapper::importBuffer, &IMapper::freeBuffer,
                &IMapper::validateBufferSize, &IMapper::getTransportSize, &IMapper::lock,
                &IMapper::unlock, &IMapper::flushLockedBuffer, &IMapper::rereadLockedBuffer,
                &IMapper::isSupported, &IMapper::get, &IMapper::set,
                &IMapper::getFromBufferDescriptorInfo, &IMapper::listSupportedMetadataTypes,
                &IMapper::dumpBuffer, &IMapper::dumpBuffers, &IMapper::getReservedRegion);
    expectSlots(13, &HidlAllocator::allocate);
}

// Reads the thread's state when almost everything of the thread is gone.
struct LastLook {
    ~LastLook() { done(IPCThreadState::self()); }
    std::function<void(IPCThreadState*)> done;
};

TEST(ThreadState, IsOneAThreadUntilItsVeryEnd) {
    IPCThreadState* const mine = IPCThreadState::self();
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(IPCThreadState::self(), mine);
    IPCThreadState* late = nullptr;
    std::thread([&] {
        static thread_local LastLook look;
        look.done = [&late](IPCThreadState* state) { late = state; };
        EXPECT_EQ(IPCThreadState::selfOrNull(), nullptr);
        IPCThreadState* const theirs = IPCThreadState::self();
        EXPECT_NE(theirs, mine);
        EXPECT_EQ(IPCThreadState::selfOrNull(), theirs);
    }).join();
    EXPECT_NE(late, nullptr);
}

TEST(ThreadState, IsThereInStaticDestructorsAndGoneAfterShutdown) {
    const auto exitWithLastLook = [](bool isShutDown) {
        static LastLook look{[](IPCThreadState* state) { _exit(state == nullptr ? 3 : 4); }};
        IPCThreadState::self();
        if (isShutDown) {
            IPCThreadState::shutdown();
        }
        exit(0);
    };
    EXPECT_EXIT(exitWithLastLook(false), testing::ExitedWithCode(4), "");
    EXPECT_EXIT(exitWithLastLook(true), testing::ExitedWithCode(3), "");
}

}  // namespace
}  // namespace zelkcam::test
