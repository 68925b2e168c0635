// The HIDL value types, the outcome of calls, the binary form of the interfaces, thread state.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/hwbinder.h"
#include "tests/host/RecordingMapper.h"

namespace {

using namespace recording;
using android::hardware::HidlReturnRestriction;
using android::hardware::IPCThreadState;
using android::hardware::setProcessHidlReturnRestriction;
using android::hardware::Status;
namespace V1_2 = android::hardware::graphics::common::V1_2;

int openDescriptors() {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    int count = 0;
    while (readdir(folder.get()) != nullptr) {
        ++count;
    }
    return count;
}

native_handle_t* newHandle() {
    native_handle_t* handle = native_handle_create(2, 1);
    handle->data[0] = open("/dev/null", O_RDONLY);
    handle->data[1] = open("/dev/null", O_RDONLY);
    handle->data[2] = 77;
    return handle;
}

// Two descriptors that the test owns, and a check that nobody else closed or kept any.
class HidlHandle : public testing::Test {
  protected:
    ~HidlHandle() override {
        EXPECT_EQ(openDescriptors(), mBefore + 2)
                << "descriptors leaked, or the test's were closed";
        native_handle_close(raw);
        native_handle_delete(raw);
    }
    int extra() const { return openDescriptors() - mBefore - 2; }

  private:
    const int mBefore = openDescriptors();

  protected:
    native_handle_t* const raw = newHandle();
};

TEST_F(HidlHandle, RefersToARawHandleWithoutOwningIt) {
    hidl_handle handle(raw);
    EXPECT_EQ(handle.getNativeHandle(), raw);
    EXPECT_EQ(handle->data[2], 77);
    handle = static_cast<const native_handle_t*>(raw);
    const hidl_handle moved(std::move(handle));
    EXPECT_EQ(static_cast<const native_handle_t*>(moved), raw);
    EXPECT_EQ(handle.getNativeHandle(), nullptr);
}

TEST_F(HidlHandle, CopiesOwnDescriptorsOfTheirOwn) {
    const hidl_handle reference(raw);
    hidl_handle copy(reference);
    ASSERT_NE(copy.getNativeHandle(), raw);
    EXPECT_NE(copy->data[0], raw->data[0]);
    EXPECT_EQ(copy->data[2], 77);
    EXPECT_EQ(extra(), 2);

    copy = reference;  // what it held is closed
    EXPECT_EQ(extra(), 2);
    hidl_handle& self = copy;
    copy = self;
    EXPECT_EQ(extra(), 2);

    hidl_handle moved;
    moved = std::move(copy);  // ownership goes along
    EXPECT_EQ(copy.getNativeHandle(), nullptr);
    EXPECT_EQ(extra(), 2);
    moved = hidl_handle();
    EXPECT_EQ(extra(), 0);
}

TEST_F(HidlHandle, SetToDecidesWhoCloses) {
    hidl_handle handle;
    handle.setTo(newHandle(), true);
    EXPECT_EQ(extra(), 2);
    handle.setTo(raw);
    EXPECT_EQ(extra(), 0);
}

TEST_F(HidlHandle, CopyOfAVectorOfHandlesDuplicatesEveryDescriptor) {
    const hidl_vec<hidl_handle> references{hidl_handle(raw), hidl_handle(raw)};
    EXPECT_EQ(extra(), 4) << "an initializer list is copied from";
    {
        const hidl_vec<hidl_handle> copy(references);
        EXPECT_EQ(extra(), 8);
    }
    EXPECT_EQ(extra(), 4);
    hidl_vec<hidl_handle> grown(references);
    grown.resize(3);  // moves
    EXPECT_EQ(extra(), 8);
    EXPECT_EQ(grown[2].getNativeHandle(), nullptr);
}

TEST_F(HidlHandle, CopyOfNullIsNullAndAFailedCloneEndsTheProcess) {
    const hidl_handle null;
    EXPECT_EQ(hidl_handle(null).getNativeHandle(), nullptr);
    native_handle_t impossible{};
    impossible.numInts = -1;
    const hidl_handle reference(&impossible);
    EXPECT_DEATH(hidl_handle copy(reference), "");
}

TEST(HidlString, CopiesOwnMovesEmptyTheSource) {
    char text[] = "buffer";
    hidl_string copy(text);
    hidl_string reference;
    reference.setToExternal(text, 6);
    text[0] = 'B';
    EXPECT_STREQ(copy.c_str(), "buffer");
    EXPECT_STREQ(reference.c_str(), "Buffer");

    const hidl_string moved(std::move(copy));
    EXPECT_EQ(moved, "buffer");
    EXPECT_TRUE(copy.empty());
    EXPECT_STREQ(copy.c_str(), "");

    hidl_string tail(moved);
    tail = tail.c_str() + 3;  // the source lies in what is replaced
    EXPECT_EQ(tail, "fer");
    tail = static_cast<const char*>(nullptr);
    EXPECT_EQ(tail.size(), 0u);
    EXPECT_EQ(std::string(hidl_string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(HidlString, ExternalTextNeedsItsNul) {
    hidl_string text;
    EXPECT_DEATH(text.setToExternal("buffer", 3), "");
    EXPECT_DEATH(text.setToExternal(nullptr, 0), "");
}

TEST(HidlString, ComparesAsText) {
    const hidl_string a("a"), b("b");
    EXPECT_TRUE(a == "a" && "a" == a && a != b && !(a != "a"));
    EXPECT_TRUE(a < b && a <= "a" && "b" > a && b >= a && !(b < "a") && !("b" <= a));
}

TEST(HidlVec, KeepsFittingElementsOnResize) {
    hidl_vec<int> values{1, 2, 3};
    const int* before = values.data();
    values.resize(5);
    EXPECT_EQ(std::vector<int>(values), (std::vector<int>{1, 2, 3, 0, 0}));
    values.resize(2);
    EXPECT_EQ(values, (hidl_vec<int>{1, 2}));
    before = values.data();
    values.resize(2);
    EXPECT_NE(values.data(), before) << "always new memory";
}

TEST(HidlVec, MoveLeavesTheSourceLookingAtTheSameElements) {
    hidl_vec<int> source{1, 2};
    const int* elements = source.data();
    const hidl_vec<int> target(std::move(source));
    EXPECT_EQ(target.data(), elements);
    EXPECT_EQ(source.data(), elements);  // not owned: its end must not free them
    EXPECT_EQ(source.size(), 2u);
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
    }
    EXPECT_EQ(Counted::alive, 0);
}

TEST(HidlVec, ReleasedDataIsTheCallersAndACopyWhenItWasExternal) {
    int outside[] = {4, 5};
    hidl_vec<int> values;
    values.setToExternal(outside, 2);
    const std::unique_ptr<int[]> released(values.releaseData());
    EXPECT_NE(released.get(), outside);
    EXPECT_EQ(released[1], 5);

    hidl_vec<int> own{6};
    const int* elements = own.data();
    EXPECT_EQ(std::unique_ptr<int[]>(own.releaseData()).get(), elements);
}

TEST(HidlVec, IsMadeFromAnyRangeAndSearched) {
    const std::list<int> list{7, 8};
    const hidl_vec<int> values(list.begin(), list.end());
    EXPECT_TRUE(values.contains(8));
    EXPECT_EQ(values.find(9), values.end());
    EXPECT_NE(values, (hidl_vec<int>{7}));
    EXPECT_NE(values, (hidl_vec<int>{7, 9}));
    EXPECT_DEATH(hidl_vec<uint8_t>().setToExternal(nullptr, size_t{1} << 32), "");
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
    EXPECT_DEATH({ [[maybe_unused]] sp<IBase> taken = object; }, "EX_NULL_POINTER.*why");
    EXPECT_EQ(static_cast<Error>(Return<Error>(Error::UNSUPPORTED)), Error::UNSUPPORTED);
}

TEST(HidlReturn, IgnoredFailuresMatterOnlyWhenTheProcessAsksForIt) {
    failed();
    const auto underRestriction = [](void (*body)()) {
        setProcessHidlReturnRestriction(HidlReturnRestriction::FATAL_IF_UNCHECKED);
        body();
        _exit(0);
    };
    EXPECT_DEATH(underRestriction([] { failed(); }), "DEAD_OBJECT");
    EXPECT_DEATH(underRestriction([] {
                     Return<Error> call = failed();
                     call = Return<Error>(Error::NONE);
                 }),
                 "DEAD_OBJECT");
    EXPECT_EXIT(underRestriction([] {
                    Return<Error> first = failed();
                    const Return<Error> second = std::move(first);  // only the target counts
                    second.isOk();
                }),
                testing::ExitedWithCode(0), "");
}

TEST(HidlStatus, DescribesItself) {
    EXPECT_EQ(Status::ok().description(), "No error");
    EXPECT_EQ(Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "late").description(),
              "Status(EX_ILLEGAL_STATE): 'late'");
    EXPECT_EQ(Status::fromStatusT(android::DEAD_OBJECT).description(),
              "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '");
    EXPECT_TRUE(Status::fromStatusT(android::OK).isOk());
    EXPECT_EQ(Status::fromExceptionCode(-3).transactionError(), android::OK);
}

TEST(HidlEnum, PrintsNamesAndBits) {
    using V1_2::BufferUsage;
    using V1_2::PixelFormat;
    EXPECT_EQ(toString(PixelFormat::DEPTH_16), "DEPTH_16");
    EXPECT_EQ(toString(PixelFormat::YV12), "YV12");
    EXPECT_EQ(toString(static_cast<PixelFormat>(0x7fa30c0a)), "0x7fa30c0a");
    EXPECT_EQ(toString(Error::NO_RESOURCES), "NO_RESOURCES");
    const uint64_t usage = BufferUsage::CAMERA_INPUT | BufferUsage::HW_IMAGE_ENCODER;
    EXPECT_EQ(V1_2::toString<BufferUsage>(usage | uint64_t{1} << 40),
              "CPU_READ_NEVER | CPU_WRITE_NEVER | CAMERA_INPUT | HW_IMAGE_ENCODER | "
              "0x10000000000 (0x10008040000)");
    IMapper::BufferDump dump;
    dump.metadataDump = {{{"n", 3}, {1, 2}}};
    EXPECT_EQ(toString(dump),
              "{.metadataDump = [1]{{.metadataType = {.name = \"n\", .value = 3}, "
              ".metadata = [2]{1, 2}}}}");
}

// A call the way a client's binary makes it: by number in the object's table.
template <typename Result, typename... Args>
__attribute__((no_sanitize("undefined"))) void callSlot(IBase* object, size_t slot, Args... args) {
    using Function = Result (*)(IBase*, Args...);
    void** const table = *reinterpret_cast<void***>(object);
    (void)reinterpret_cast<Function>(table[slot])(object, args...);
}

struct Slot {
    size_t number;
    const char* operation;
    void (*call)(IBase*, size_t);
};

using OneBuffer = void (*)(IBase*, size_t);

template <typename Callback>
constexpr OneBuffer kBufferAndCallback = [](IBase* object, size_t slot) {
    callSlot<Return<void>, void*, Callback>(object, slot, nullptr, nullptr);
};
template <typename Callback>
constexpr OneBuffer kCallback =
        [](IBase* object, size_t slot) { callSlot<Return<void>, Callback>(object, slot, nullptr); };
constexpr OneBuffer kNothing = [](IBase* object, size_t slot) {
    callSlot<Return<void>>(object, slot);
};
constexpr OneBuffer kBufferToError = [](IBase* object, size_t slot) {
    callSlot<Return<Error>, void*>(object, slot, nullptr);
};

const Description kDescription{};
const IMapper::Rect kRegion{};
const IMapper::MetadataType kType{};
const hidl_handle kHandle;
const Bytes kBytes;

const Slot kBaseSlots[] = {
        {0, "isRemote", [](IBase* object, size_t slot) { callSlot<bool>(object, slot); }},
        {1, "interfaceChain",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, IBase::interfaceChain_cb>(object, slot, [](const Texts&) {});
         }},
        {2, "debug",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, const hidl_handle&, const Texts&>(object, slot, kHandle, {});
         }},
        {3, "interfaceDescriptor", kCallback<IBase::interfaceDescriptor_cb>},
        {4, "getHashChain", kCallback<IBase::getHashChain_cb>},
        {5, "setHALInstrumentation", kNothing},
        {6, "linkToDeath",
         [](IBase* object, size_t slot) {
             callSlot<Return<bool>, const sp<hidl_death_recipient>&, uint64_t>(object, slot, {}, 0);
         }},
        {7, "ping", kNothing},
        {8, "getDebugInfo", kCallback<IBase::getDebugInfo_cb>},
        {9, "notifySyspropsChanged", kNothing},
        {10, "unlinkToDeath",
         [](IBase* object, size_t slot) {
             callSlot<Return<bool>, const sp<hidl_death_recipient>&>(object, slot, {});
         }},
};

const Slot kMapperSlots[] = {
        {13, "createDescriptor",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, const Description&, IMapper::createDescriptor_cb>(
                     object, slot, kDescription, nullptr);
         }},
        {14, "importBuffer",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, const hidl_handle&, IMapper::importBuffer_cb>(object, slot,
                                                                                  kHandle, nullptr);
         }},
        {15, "freeBuffer", kBufferToError},
        {16, "validateBufferSize",
         [](IBase* object, size_t slot) {
             callSlot<Return<Error>, void*, const Description&, uint32_t>(object, slot, nullptr,
                                                                          kDescription, 0);
         }},
        {17, "getTransportSize", kBufferAndCallback<IMapper::getTransportSize_cb>},
        {18, "lock",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, void*, uint64_t, const IMapper::Rect&, const hidl_handle&,
                      IMapper::lock_cb>(object, slot, nullptr, 0, kRegion, kHandle, nullptr);
         }},
        {19, "unlock", kBufferAndCallback<IMapper::unlock_cb>},
        {20, "flushLockedBuffer", kBufferAndCallback<IMapper::flushLockedBuffer_cb>},
        {21, "rereadLockedBuffer", kBufferToError},
        {22, "isSupported",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, const Description&, IMapper::isSupported_cb>(
                     object, slot, kDescription, nullptr);
         }},
        {23, "get",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, void*, const IMapper::MetadataType&, IMapper::get_cb>(
                     object, slot, nullptr, kType, nullptr);
         }},
        {24, "set",
         [](IBase* object, size_t slot) {
             callSlot<Return<Error>, void*, const IMapper::MetadataType&, const Bytes&>(
                     object, slot, nullptr, kType, kBytes);
         }},
        {25, "getFromBufferDescriptorInfo",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, const Description&, const IMapper::MetadataType&,
                      IMapper::getFromBufferDescriptorInfo_cb>(object, slot, kDescription, kType,
                                                               nullptr);
         }},
        {26, "listSupportedMetadataTypes", kCallback<IMapper::listSupportedMetadataTypes_cb>},
        {27, "dumpBuffer", kBufferAndCallback<IMapper::dumpBuffer_cb>},
        {28, "dumpBuffers", kCallback<IMapper::dumpBuffers_cb>},
        {29, "getReservedRegion", kBufferAndCallback<IMapper::getReservedRegion_cb>},
};

const Slot kAllocatorSlots[] = {
        {13, "allocate",
         [](IBase* object, size_t slot) {
             callSlot<Return<void>, const Bytes&, uint32_t, IAllocator::allocate_cb>(
                     object, slot, kBytes, 0, nullptr);
         }},
};

template <typename Object, size_t COUNT>
void expectSlots(const Slot (&slots)[COUNT]) {
    const sp<Object> object = new Object;
    for (const Slot& slot : slots) {
        object->last = "";
        slot.call(object.get(), slot.number);
        EXPECT_STREQ(object->last, slot.operation) << "slot " << slot.number;
    }
}

TEST(HidlInterfaces, HaveTheirOperationsInThePublishedSlots) {
    expectSlots<RecordingMapper>(kBaseSlots);
    expectSlots<RecordingMapper>(kMapperSlots);
    expectSlots<RecordingAllocator>(kAllocatorSlots);
}

// Reads the thread's state when almost everything of the thread is gone.
struct LastLook {
    ~LastLook() { *answer = IPCThreadState::self(); }
    IPCThreadState** answer = nullptr;
};

TEST(ThreadState, IsOneAThreadAndGoneAtItsEnd) {
    IPCThreadState* const mine = IPCThreadState::self();
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(IPCThreadState::self(), mine);
    EXPECT_EQ(mine->getCallingPid(), getpid());
    IPCThreadState* late = mine;
    std::thread([&] {
        static thread_local LastLook look;
        look.answer = &late;
        EXPECT_EQ(IPCThreadState::selfOrNull(), nullptr);
        IPCThreadState* const theirs = IPCThreadState::self();
        EXPECT_NE(theirs, mine);
        EXPECT_EQ(IPCThreadState::selfOrNull(), theirs);
        theirs->flushCommands();
    }).join();
    EXPECT_EQ(late, nullptr);
}

}  // namespace
