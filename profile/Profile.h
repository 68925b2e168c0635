// A device profile: what a device's allocator and mapper answer, as data.
//
// The rules tell what a buffer of a format, usage and size looks like; the samples are what a
// device really answered, if the profile was recorded. Plain values, without a view of their own.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelkcam::profile {

inline constexpr int64_t kSchemaVersion = 1;
inline constexpr size_t kMaxPlanes = 4;
inline constexpr size_t kMaxPlaneComponents = 4;
inline constexpr size_t kMaxComponents = 5;  // of all planes of a buffer

// A request that is granted. Everything else is the allocator's service-specific error code, or
// kOtherException for an answer that carries none.
inline constexpr int32_t kGranted = -1;
inline constexpr int32_t kOtherException = -2;

struct Request {
    int32_t format = 0;
    uint64_t usage = 0;
    uint32_t width = 0;
    uint32_t height = 0;

    bool operator==(const Request&) const = default;
};

struct Component {
    int64_t type = 0;  // published PlaneLayoutComponentType
    int64_t offsetInBits = 0;
    int64_t sizeInBits = 0;

    bool operator==(const Component&) const = default;
};

struct PlaneShape {
    std::vector<Component> components;
    int64_t sampleIncrementInBits = 0;
    int64_t horizontalSubsampling = 1;
    int64_t verticalSubsampling = 1;

    bool operator==(const PlaneShape&) const = default;
};

// What the CROP of a plane is: its own samples, or the picture's whatever the plane.
enum class Crop : uint8_t { kPlane, kPicture };

// A metadata type that the mapper refuses, and the number it answers.
struct Refused {
    int64_t type = 0;
    int32_t code = 0;

    bool operator==(const Refused&) const = default;
};

// What the mapper tells of a buffer apart from the numbers that grow with its size.
struct Shape {
    int32_t format = 0;  // what the request became
    uint32_t fourcc = 0;
    uint64_t modifier = 0;
    int64_t compression = 0;
    int64_t interlaced = 0;
    int64_t chromaSiting = 0;
    uint64_t usageAdded = 0;    // bits of USAGE that nobody asked for
    uint64_t usageRemoved = 0;  // bits asked for that USAGE lacks
    uint32_t flags = 0;         // the buffer-attribute extension's flag word
    Crop crop = Crop::kPlane;
    std::vector<Refused> refused;
    std::vector<PlaneShape> planes;

    bool operator==(const Shape&) const = default;
};

struct PlaneNumbers {
    int64_t offset = 0;
    int64_t row = 0;   // bytes from one row to the next
    int64_t size = 0;  // bytes
    int64_t width = 0;
    int64_t height = 0;  // samples

    bool operator==(const PlaneNumbers&) const = default;
};

// What a buffer-attribute extension of a maker's own may count otherwise than the mapper.
enum Own : uint8_t { kOwnStride, kOwnRows, kOwnSize, kOwnCount };

struct Numbers {
    int64_t stride = 0;          // STRIDE
    int64_t answeredStride = 0;  // that of the allocation's result
    int64_t size = 0;            // ALLOCATION_SIZE
    std::array<std::optional<int64_t>, kOwnCount>
            own{};  // where they are not what the mapper tells
    std::array<PlaneNumbers, kMaxPlanes> planes{};

    bool operator==(const Numbers&) const = default;
};

// What the quantities of a layout are counted from.
enum class Base : uint8_t {
    kConstant,  // nothing: the value is `plus`
    kWidth,     // of the request
    kHeight,
    kAlignedWidth,  // the rule's own
    kAlignedHeight,
    kRow,    // bytes of the first plane's row
    kArea,   // aligned width times aligned height
    kPlane,  // the plane's own row times its rows
    kEnd,    // first byte behind plane `plane`
    kStart,  // first byte of plane `plane`
    kTotal,  // first byte behind all planes
};

// One formula: the base in whole `unit`s, times `times`, divided by `per` and rounded (down unless
// `up`), plus `plus` and `tailRows` rows of the first plane and, if asked for, the header; rounded
// up to `align`; `extra` more if that is a multiple of `extraAt` (devices avoid rows that are
// powers of two so); and never less than `least`.
//
// The or... are other values that the samples allow, as profiles had them before a rule held whole
// other formulas; a request for which they make a difference is answered by a guess.
struct Term {
    Base base = Base::kConstant;
    uint8_t plane = 0;
    bool up = false;
    bool header = false;
    int64_t unit = 1;
    int64_t times = 1;
    int64_t per = 1;
    int64_t plus = 0;
    int64_t tailRows = 0;
    int64_t align = 1;
    int64_t extra = 0;
    int64_t extraAt = 1;
    int64_t least = 0;
    int64_t orUnit = 0;   // 0: nothing is open
    int64_t orAlign = 0;  // likewise
    int64_t orPlus = 0;   // meaningful with plusOpen, and so are the rows
    int64_t orTailRows = 0;
    bool plusOpen = false;

    bool operator==(const Term&) const = default;
    bool open() const { return orUnit != 0 || orAlign != 0 || plusOpen; }
};

enum class Axis : uint8_t { kWidth, kHeight, kArea };

// One formula of a quantity and the sizes it is for: up to and including `upTo` on the axis. It
// surely holds up to `sure`, and from `next` on surely the one after it; in between nobody knows.
struct Case {
    Term term;
    bool limited = false;
    Axis axis = Axis::kWidth;
    int64_t upTo = 0;
    int64_t sure = 0;
    int64_t next = 0;

    bool operator==(const Case&) const = default;
};

// The first case that holds counts; the last holds always.
using Quantity = std::vector<Case>;

struct PlaneRule {
    Quantity row, rows, size, offset, width, height;

    bool operator==(const PlaneRule&) const = default;
};

enum class UsageOp : uint8_t { kAny, kAll, kNone };

struct UsageTest {
    UsageOp op = UsageOp::kAny;
    uint64_t mask = 0;

    bool operator==(const UsageTest&) const = default;
};

enum class SizeOp : uint8_t { kAbove, kUpTo, kOddWidth, kOddHeight };

struct SizeTest {
    SizeOp op = SizeOp::kAbove;
    // With kAbove: larger than `limit`. Surely not so up to `sure`, surely so from `next` on. With
    // kUpTo the opposite.
    Axis axis = Axis::kWidth;
    int64_t limit = 0;
    int64_t sure = 0;
    int64_t next = 0;
    int64_t unit = 2;  // with kOddWidth and kOddHeight: of what the size is no multiple

    bool operator==(const SizeTest&) const = default;
};

// What a recorded rule stands on. A rule without is its author's word and never a guess.
struct Evidence {
    int64_t samples = 0;
    int64_t exceptions = 0;
    int64_t maxWidth = 0;
    int64_t maxHeight = 0;

    bool operator==(const Evidence&) const = default;
};

struct Rule {
    std::vector<UsageTest> usage;  // all must hold
    std::vector<SizeTest> size;
    int32_t answer = kGranted;  // else the refusal
    uint32_t shape = 0;         // index into the profile's shapes
    Quantity alignedWidth, alignedHeight, header, stride, answeredStride, allocationSize;
    Quantity extensionStride, verticalStride, extensionSize;  // empty: what the mapper tells
    std::vector<PlaneRule> planes;
    std::optional<Evidence> evidence;
    // Formulas that explain the samples as well: where they answer otherwise, the rule guesses. Of
    // these only the quantities count.
    std::vector<Rule> others;

    bool operator==(const Rule&) const = default;
};

struct FormatRules {
    int32_t format = 0;
    // The usages that were recorded; empty for rules that hold for all.
    std::vector<uint64_t> usages;
    std::vector<Rule> rules;  // the first whose conditions hold

    bool operator==(const FormatRules&) const = default;
};

// What a lock for reading or writing answers, as an AIMapper_Error.
struct LockAnswer {
    int32_t read = 0;
    int32_t write = 0;

    bool operator==(const LockAnswer&) const = default;
};

struct LockRule {
    std::vector<int32_t> formats;  // requested; empty: all
    std::vector<UsageTest> usage;
    LockAnswer answer;

    bool operator==(const LockRule&) const = default;
};

// How a profile's mapper treats the acquire fence of a lock.
enum class AcquireFence : uint8_t { kLeftOpen, kClosed };

struct Traits {
    uint64_t refusedUsage = 0;  // bits
    int32_t usageRefusal = 2;
    int32_t zeroUsage = kGranted;
    int64_t maxLayers = 1;
    int32_t layersRefusal = 2;
    int64_t maxReservedSize = 0;
    int32_t reservedRefusal = 2;
    std::vector<std::string> options{};  // that the allocator takes
    int32_t optionsRefusal = 2;
    AcquireFence acquireFence = AcquireFence::kLeftOpen;
    bool waitsForAcquireFence = true;
    bool releaseFence = false;
    // What the mapper answers to odd calls; see kMapperAnswers in Words.h.
    int32_t lockWithoutUsage = 3;        // cpuUsage 0
    int32_t lockWithOtherUsage = 3;      // the processor's bits and others
    int32_t lockWithOnlyOtherUsage = 3;  // none of the processor's
    int32_t nestedLock = 0;
    int32_t foreignHandle = 2;  // lock of a handle that was never imported
    int32_t foreignRead = -2;   // of its metadata
    int32_t foreignSet = 2;
    int32_t foreignImport = 2;  // of a handle of another shape
    int32_t unlockedFlush = 2;
    int32_t unlockedReread = 2;
    int32_t flushAfterRead = 0;  // of a buffer that is locked for reading only
    int32_t rereadAfterWrite = 0;
    int32_t setUndecodable = 7;  // bytes that are no value
    int32_t setConstant = 3;     // what the request fixed
    bool givesReservedRegion = true;
    std::vector<int64_t> settable{};  // standard metadata types

    bool operator==(const Traits&) const = default;
};

// Several requests of one format and usage, and what a device answered.
struct Answer {
    uint32_t width = 0;
    uint32_t height = 0;
    int32_t answer = kGranted;
    uint32_t shape = 0;
    Numbers numbers;
    // What the library derives from the buffer: status, then size and row of each plane. Not there
    // where it was not asked because it would have ended the process.
    std::optional<std::vector<int64_t>> library;

    bool operator==(const Answer&) const = default;
};

struct Samples {
    int32_t format = 0;
    uint64_t usage = 0;
    std::optional<LockAnswer> locks;
    std::vector<Answer> answers;

    bool operator==(const Samples&) const = default;
};

struct Profile {
    std::string name;
    std::string description;
    std::string device;
    std::string build;
    std::string recorded;  // when
    Traits traits;
    std::vector<LockRule> locks;  // the first that holds; without any every lock is granted
    std::vector<Shape> shapes;
    std::vector<FormatRules> formats;  // ascending
    std::vector<Samples> samples;      // ascending by format and usage

    bool operator==(const Profile&) const = default;
};

}  // namespace zelkcam::profile
