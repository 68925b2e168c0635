// The bytes of an allocation that hold no pixel: filled with a pattern while somebody may write,
// and compared afterwards.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/gralloc/Description.h"
#include "host/gralloc/ImportedBuffer.h"
#include "host/gralloc/Layout.h"

namespace zelkcam::host::check {

struct PaddingChange {
    std::string where;   // "plane 1 row 17, behind the row's 1920 bytes"
    bool tears = false;  // false: all padding alike, as by clearing or by copying whole rows
};

class Padding {
  public:
    Padding(const gralloc::Description& description, const gralloc::Layout& layout);

    // Fills the padding of the mapped allocation, up to the end of its last page.
    void fill(std::byte* pixels);

    // What changed since fill(), for a lock of `region`.
    std::optional<PaddingChange> findChange(const std::byte* pixels,
                                            const gralloc::Region& region) const;

    // The number of bytes behind the allocation that changed, in its last page.
    int64_t changedBehind(const std::byte* pixels) const;

  private:
    // Rows in memory: one plane, or several that lie within each other's rows.
    struct Rows {
        int64_t plane;
        int64_t offset;
        int64_t stride;
        int64_t bytes;  // of a row that hold pixels, from `offset` on
        int64_t count;  // those that the plane holds whole: of odd heights the last may be cut
        int64_t below;  // where no row is any more
        int64_t end;    // where the plane ends, beginning at the allocation
        int verticalSubsampling;
        std::vector<std::byte> firstRow;  // as they were at fill()
        std::vector<std::byte> lastRow;

        int64_t gapBegin(int64_t row) const { return offset + row * stride + bytes; }
        int64_t gapEnd(int64_t row) const;
    };
    struct Gap {
        int64_t begin;
        int64_t end;
    };
    // What became of the gaps behind the rows.
    struct Touches {
        int64_t first = -1;  // rows; -1 when nothing changed
        int64_t last = -1;
        int64_t count = 0;      // of touched gaps
        int64_t missed = 0;     // rows of the region, up to the last touched one
        int64_t parts = 0;      // gaps whose begin or end is untouched, perhaps by chance
        int64_t longParts = 0;  // and certainly
    };
    enum class Pattern { Untouched, Alike, Torn };
    struct Verdict {
        Pattern pattern = Pattern::Untouched;
        int64_t firstRow = 0;
    };

    void add(const gralloc::Plane& plane, int64_t index, const gralloc::Description& description,
             int64_t bytesOfRow);
    static std::vector<std::byte> copyOf(const std::byte* pixels, int64_t row, const Rows& rows);
    void addTails();
    static Touches touchesOf(const Rows& rows, const std::byte* pixels, int64_t first,
                             int64_t last);
    Verdict judgeRows(const Rows& rows, const std::byte* pixels,
                      const gralloc::Region& region) const;
    bool isLastRowPart(const Rows& rows, const std::byte* pixels) const;
    static bool isWrittenInRows(const Rows& rows, int64_t begin, int64_t end,
                                const std::byte* pixels);
    bool endsEarly(const Rows& rows, const std::byte* pixels) const;
    std::optional<PaddingChange> judgeBelow(const Rows& rows, const Rows* next,
                                            const std::byte* pixels) const;
    std::optional<PaddingChange> judgePlane(const Rows& rows, const Rows* next,
                                            const std::byte* pixels, const Verdict& verdict) const;
    bool isMoreRows(const Gap& tail, const std::byte* pixels) const;
    std::optional<PaddingChange> judgeTail(const Gap& tail, const std::byte* pixels) const;
    bool isAllTouched(const std::byte* pixels) const;
    template <typename Visit>
    void forEachGap(Visit&& visit) const;

    std::vector<Rows> mRows;
    std::vector<Gap> mTails;  // between planes and behind the last one
    int64_t mSize;
    int64_t mMappedSize;
};

}  // namespace zelkcam::host::check
