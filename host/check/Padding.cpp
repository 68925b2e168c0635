#include "host/check/Padding.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "host/gralloc/SharedMemory.h"

namespace zelkcam::host::check {
namespace {

using gralloc::Layout;
using gralloc::Plane;

// A prime: rows begin at ever other places of the pattern, whatever their stride.
constexpr int64_t kPeriod = 4093;

// No byte of it is one that pictures are cleared with: 0, 16, 128, 255.
constexpr std::array<std::byte, kPeriod> makePattern() {
    std::array<std::byte, kPeriod> pattern{};
    uint32_t state = 1;
    for (std::byte& byte : pattern) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::byte>(0xA1 + (state >> 24) % 61);
    }
    return pattern;
}

constexpr auto kPattern = makePattern();

// Calls visit(pixels, pattern, size) for the pieces of a gap.
template <typename Bytes, typename Visit>
void forEachPiece(Bytes* pixels, int64_t begin, int64_t end, Visit&& visit) {
    while (begin < end) {
        const int64_t phase = begin % kPeriod;
        const int64_t size = std::min(end - begin, kPeriod - phase);
        visit(pixels + begin, kPattern.data() + phase, static_cast<size_t>(size));
        begin += size;
    }
}

int64_t countChanged(const std::byte* pixels, int64_t begin, int64_t end) {
    int64_t changed = 0;
    forEachPiece(pixels, begin, end, [&](const std::byte* now, const std::byte* then, size_t size) {
        if (std::memcmp(now, then, size) != 0) {
            for (size_t i = 0; i < size; ++i) {
                changed += now[i] != then[i] ? 1 : 0;
            }
        }
    });
    return changed;
}

int64_t firstChanged(const std::byte* pixels, int64_t begin, int64_t end) {
    while (begin < end && pixels[begin] == kPattern[static_cast<size_t>(begin % kPeriod)]) {
        ++begin;
    }
    return begin;
}

// Any byte that is written may be the pattern's by chance, one in 61.
bool isWhole(int64_t changed, int64_t size) {
    return changed > 0 && size - changed <= size / 16 + 3;
}

// So many bytes in a row are the pattern's for no other reason than that nobody wrote them.
constexpr int64_t kUnwritten = 4;

// Of so many gaps some may look unwritten by chance.
int64_t missedByChance(int64_t gap, int64_t count) {
    return gap >= kUnwritten ? 0 : gap == 1 ? count / 8 + 1 : count / 256 + 1;
}

bool isUniform(const std::byte* pixels, int64_t begin, int64_t end) {
    return std::all_of(pixels + begin, pixels + end,
                       [first = pixels[begin]](std::byte byte) { return byte == first; });
}

// The last one of a gap in which something changed.
int64_t lastChanged(const std::byte* pixels, int64_t begin, int64_t end) {
    while (begin < end && pixels[end - 1] == kPattern[static_cast<size_t>((end - 1) % kPeriod)]) {
        --end;
    }
    return end - 1;
}

int64_t divideUp(int64_t value, int64_t divisor) {
    return (value + divisor - 1) / divisor;
}

// Formats whose pixels come in groups: so many bytes hold so many. Their planes cannot state it.
struct Packing {
    int32_t format;
    int64_t pixels;
    int64_t bytes;
};
constexpr Packing kPackings[] = {
        {0x14, 2, 4}, {0x24, 4, 5}, {0x25, 4, 5}, {0x26, 2, 3}, {0x111, 4, 5},
};

int64_t bytesOfSamples(const Plane& plane, int64_t width) {
    const int64_t samples = std::max(plane.widthInSamples,
                                     divideUp(width, std::max(1, plane.horizontalSubsampling)));
    return divideUp(samples * plane.sampleIncrementInBits, 8);
}

// Odd dimensions are rounded up: whoever writes the last half sample writes no padding.
int64_t bytesOfRow(const Plane& plane, int32_t format, int64_t width) {
    const auto packing = std::ranges::find(kPackings, format, &Packing::format);
    if (packing != std::end(kPackings)) {
        return divideUp(width, packing->pixels) * packing->bytes;
    }
    return plane.sampleIncrementInBits > 0 ? bytesOfSamples(plane, width) : plane.strideInBytes;
}

}  // namespace

int64_t Padding::Rows::gapEnd(int64_t row) const {
    return std::max(gapBegin(row), std::min(offset + (row + 1) * stride, end));
}

Padding::Padding(const gralloc::Description& description, const Layout& layout)
    : mSize(static_cast<int64_t>(layout.pixelBytes)) {
    mMappedSize = static_cast<int64_t>(gralloc::roundToPages(layout.pixelBytes));
    if (layout.compression != gralloc::Compression::NONE) {
        return;
    }
    int64_t index = 0;
    for (const Plane& plane : layout.planes) {
        add(plane, index++, description, bytesOfRow(plane, layout.format, description.width));
    }
    addTails();
}

// A plane that begins within the first row of the one before shares its rows.
void Padding::add(const Plane& plane, int64_t index, const gralloc::Description& description,
                  int64_t bytesOfRow) {
    const int64_t end = std::min(plane.offsetInBytes + plane.totalSizeInBytes, mSize);
    const int64_t bytes = std::min(bytesOfRow, plane.strideInBytes);
    if (plane.strideInBytes <= 0 || end < plane.offsetInBytes + bytes) {
        return;
    }
    if (!mRows.empty() && mRows.back().stride == plane.strideInBytes) {
        Rows& before = mRows.back();
        const int64_t distance = plane.offsetInBytes - before.offset;
        if (distance >= 0 && distance < before.stride) {
            const bool isInterleaved = distance * 8 < plane.sampleIncrementInBits;
            before.bytes =
                    std::min(before.stride,
                             std::max(before.bytes, (isInterleaved ? 0 : distance) + bytesOfRow));
            before.end = std::max(before.end, end);
            return;
        }
    }
    const int64_t rows = divideUp(description.height, std::max(1, plane.verticalSubsampling));
    const int64_t fitting = (end - plane.offsetInBytes - bytes) / plane.strideInBytes + 1;
    Rows added{};
    added.plane = index;
    added.offset = plane.offsetInBytes;
    added.stride = plane.strideInBytes;
    added.bytes = bytes;
    added.count = std::min(rows, fitting);
    added.below = std::min(plane.offsetInBytes + rows * plane.strideInBytes, end);
    added.end = end;
    added.verticalSubsampling = std::max(1, plane.verticalSubsampling);
    mRows.push_back(std::move(added));
}

void Padding::addTails() {
    std::vector<Gap> planes;
    for (const Rows& rows : mRows) {
        planes.push_back({rows.offset, rows.end});
    }
    std::ranges::sort(planes, {}, &Gap::begin);
    int64_t end = 0;
    for (const Gap& plane : planes) {
        if (plane.begin > end) {
            mTails.push_back({end, plane.begin});
        }
        end = std::max(end, plane.end);
    }
    if (!planes.empty() && mSize > end) {
        mTails.push_back({end, mSize});
    }
}

template <typename Visit>
void Padding::forEachGap(Visit&& visit) const {
    for (const Rows& rows : mRows) {
        for (int64_t row = 0; row < rows.count && rows.bytes < rows.stride; ++row) {
            visit(rows.gapBegin(row), rows.gapEnd(row));
        }
        visit(rows.below, rows.end);
    }
    for (const Gap& tail : mTails) {
        visit(tail.begin, tail.end);
    }
}

void Padding::fill(std::byte* pixels) {
    const auto fillGap = [pixels](int64_t begin, int64_t end) {
        forEachPiece(pixels, begin, end, [](std::byte* now, const std::byte* pattern, size_t size) {
            std::memcpy(now, pattern, size);
        });
    };
    forEachGap(fillGap);
    fillGap(mSize, mMappedSize);
    for (Rows& rows : mRows) {
        rows.firstRow = copyOf(pixels, rows.offset, rows);
        rows.lastRow = copyOf(pixels, rows.offset + (rows.count - 1) * rows.stride, rows);
    }
}

std::vector<std::byte> Padding::copyOf(const std::byte* pixels, int64_t row, const Rows& rows) {
    const int64_t end = std::max(row, std::min(row + rows.bytes, rows.end));
    return {pixels + row, pixels + end};
}

int64_t Padding::changedBehind(const std::byte* pixels) const {
    return countChanged(pixels, mSize, mMappedSize);
}

// Whoever copies all of a plane as one piece may stop at the last pixel; whoever takes the width
// for the stride stops somewhere in the middle of a row.
bool Padding::isLastRowPart(const Rows& rows, const std::byte* pixels) const {
    const std::byte* const now = pixels + rows.offset + (rows.count - 1) * rows.stride;
    const auto size = static_cast<int64_t>(rows.lastRow.size());
    int64_t changed = size;
    while (changed > 0 && now[changed - 1] == rows.lastRow[static_cast<size_t>(changed - 1)]) {
        --changed;
    }
    // Where rows as long as their pixels, one behind the other, would end.
    const int64_t packedEnd = rows.bytes - (rows.count - 1) * (rows.stride - rows.bytes);
    const bool isPacked = packedEnd < size && changed <= packedEnd && changed > packedEnd - 3;
    return changed > 0 && (isPacked || changed < size - size / 16 - 1);
}

Padding::Touches Padding::touchesOf(const Rows& rows, const std::byte* pixels, int64_t first,
                                    int64_t last) {
    Touches touches;
    const int64_t gap = rows.stride - rows.bytes;
    int64_t missed = 0;
    for (int64_t row = 0; row < rows.count && gap > 0; ++row) {
        const int64_t begin = rows.gapBegin(row);
        const int64_t end = rows.gapEnd(row);
        const int64_t from = firstChanged(pixels, begin, end);
        if (from < end) {
            const int64_t until = lastChanged(pixels, begin, end) + 1;
            touches.first = touches.first < 0 ? row : touches.first;
            touches.last = row;
            touches.missed = missed;
            touches.count += 1;
            touches.parts += from > begin || until < end ? 1 : 0;
            touches.longParts += from >= begin + kUnwritten || until <= end - kUnwritten ? 1 : 0;
        }
        missed += from == end && begin < end && row >= first && row <= last ? 1 : 0;
    }
    return touches;
}

// Of gaps that are all touched none is missed; of those that are touched in part, the same bytes of
// many are missed, or many bytes of one.
Padding::Verdict Padding::judgeRows(const Rows& rows, const std::byte* pixels,
                                    const gralloc::Region& region) const {
    const bool isPartial = region.bottom > region.top;
    const int64_t first = isPartial ? region.top / rows.verticalSubsampling : 0;
    const int64_t last =
            std::min(rows.count,
                     isPartial ? divideUp(region.bottom, rows.verticalSubsampling) : rows.count) -
            1;
    const Touches touches = touchesOf(rows, pixels, first, last);
    if (touches.first < 0) {
        return {};
    }
    const int64_t gap = rows.stride - rows.bytes;
    const bool hasParts = touches.longParts > 0 || touches.parts > touches.count / 2 + 1;
    const bool hasAll = touches.count >= rows.count - 1 - missedByChance(gap, rows.count);
    const bool endsEarly = touches.last < last - 1 || (touches.last == last - 1 && first < last &&
                                                       isLastRowPart(rows, pixels));
    const bool beginsElsewhere = !hasAll && (touches.first < first || touches.last > last);
    const bool isTorn = hasParts || endsEarly || beginsElsewhere ||
                        touches.missed > missedByChance(gap, touches.count);
    return {isTorn ? Pattern::Torn : Pattern::Alike, touches.first};
}

// Whether all that lies in the plane's rows between two places was written, over the width of the
// picture at least. A last row that is cut short counts only when it is the first.
bool Padding::isWrittenInRows(const Rows& rows, int64_t begin, int64_t end,
                              const std::byte* pixels) {
    const int64_t first = (begin - rows.offset) / rows.stride;
    for (int64_t row = first; row == first || rows.offset + (row + 1) * rows.stride <= end; ++row) {
        const int64_t from = std::max(begin, rows.offset + row * rows.stride);
        const int64_t until = std::min(rows.gapBegin(row), end);
        if (from < until && !isWhole(countChanged(pixels, from, until), until - from)) {
            return false;
        }
    }
    return true;
}

// Whether the plane's first row was written and its last was not.
bool Padding::endsEarly(const Rows& rows, const std::byte* pixels) const {
    const std::byte* const first = pixels + rows.offset;
    const std::byte* const last = first + (rows.count - 1) * rows.stride;
    return !std::equal(rows.firstRow.begin(), rows.firstRow.end(), first) &&
           std::equal(rows.lastRow.begin(), rows.lastRow.end(), last);
}

// Whoever writes all rows of a plane, those below the picture too, tears nothing. Whoever takes
// them for the beginning of the next plane leaves the end of that one unwritten.
std::optional<PaddingChange> Padding::judgeBelow(const Rows& rows, const Rows* next,
                                                 const std::byte* pixels) const {
    if (countChanged(pixels, rows.below, rows.end) == 0) {
        return std::nullopt;
    }
    const int64_t first = firstChanged(pixels, rows.below, rows.end);
    const bool tears = !isWrittenInRows(rows, rows.below, rows.end, pixels) ||
                       (next != nullptr && endsEarly(*next, pixels));
    return PaddingChange{"plane " + std::to_string(rows.plane) + " row " +
                                 std::to_string((first - rows.offset) / rows.stride) +
                                 ", below the " + std::to_string(rows.count) +
                                 " rows of the picture",
                         tears};
}

std::optional<PaddingChange> Padding::judgePlane(const Rows& rows, const Rows* next,
                                                 const std::byte* pixels,
                                                 const Verdict& verdict) const {
    const std::string where = "plane " + std::to_string(rows.plane) + " row " +
                              std::to_string(verdict.firstRow) + ", behind the " +
                              std::to_string(rows.bytes) + " bytes of the row";
    if (verdict.pattern == Pattern::Torn) {
        return PaddingChange{where, true};
    }
    const auto below = judgeBelow(rows, next, pixels);
    return below || verdict.pattern == Pattern::Untouched ? below : PaddingChange{where, false};
}

// Behind the last plane some ask for as many rows as fit into the rest of the buffer.
bool Padding::isMoreRows(const Gap& tail, const std::byte* pixels) const {
    const auto rows = std::ranges::find(mRows, tail.begin, &Rows::end);
    return tail.end == mSize && rows != mRows.end() &&
           isWrittenInRows(*rows, tail.begin, tail.end, pixels);
}

std::optional<PaddingChange> Padding::judgeTail(const Gap& tail, const std::byte* pixels) const {
    const int64_t changed = countChanged(pixels, tail.begin, tail.end);
    if (changed == 0) {
        return std::nullopt;
    }
    const bool cleared =
            isWhole(changed, tail.end - tail.begin) && isUniform(pixels, tail.begin, tail.end);
    const int64_t first = firstChanged(pixels, tail.begin, tail.end);
    return PaddingChange{"byte " + std::to_string(first) + " of the buffer, behind a plane's end",
                         !cleared && !isMoreRows(tail, pixels)};
}

// Short gaps may be missed by chance, but not many of them.
bool Padding::isAllTouched(const std::byte* pixels) const {
    int64_t gaps = 0;
    int64_t shortMisses = 0;
    bool longMissed = false;
    forEachGap([&](int64_t begin, int64_t end) {
        const bool isMissed =
                begin < end && !isWhole(countChanged(pixels, begin, end), end - begin);
        gaps += begin < end ? 1 : 0;
        shortMisses += isMissed && end - begin < kUnwritten ? 1 : 0;
        longMissed = longMissed || (isMissed && end - begin >= kUnwritten);
    });
    return !longMissed && shortMisses <= missedByChance(1, gaps);
}

std::optional<PaddingChange> Padding::findChange(const std::byte* pixels,
                                                 const gralloc::Region& region) const {
    std::optional<PaddingChange> found;
    const auto keep = [&found](const std::optional<PaddingChange>& change) {
        if (change && (!found || (change->tears && !found->tears))) {
            found = change;
        }
    };
    bool isTorn = false;
    for (size_t i = 0; i < mRows.size(); ++i) {
        const Verdict verdict = judgeRows(mRows[i], pixels, region);
        isTorn = isTorn || verdict.pattern == Pattern::Torn;
        const Rows* const next = i + 1 < mRows.size() ? &mRows[i + 1] : nullptr;
        keep(judgePlane(mRows[i], next, pixels, verdict));
    }
    for (const Gap& tail : mTails) {
        keep(judgeTail(tail, pixels));
    }
    // As by a copy of a whole buffer: what lies between planes looks torn, but is only copied.
    if (found && found->tears && !isTorn && isAllTouched(pixels)) {
        return PaddingChange{"all of the buffer", false};
    }
    return found;
}

}  // namespace zelkcam::host::check
