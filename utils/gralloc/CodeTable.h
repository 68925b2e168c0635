// Tables whose rows are found by a code.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace NSCam::gralloc {

// Whether the rows stand in ascending order of their codes, no code twice: what looking a code up
// asks for.
template <typename Row, size_t Rows>
consteval bool ascendingByCode(const std::array<Row, Rows>& table) {
    return std::adjacent_find(table.begin(), table.end(), [](const Row& left, const Row& right) {
               return left.code >= right.code;
           }) == table.end();
}

// Where a table's rows are, by code: a multiplication sends every code to a slot of its own, so
// that finding one takes no search and no branch to mispredict. The factor is looked for while
// compiling.
template <const auto& kTable>
class CodeIndex {
    static_assert(ascendingByCode(kTable));

  public:
    // The number of the row of `code`, or the number of rows.
    static constexpr size_t rowOf(int32_t code) {
        const size_t row = kRows[slotOf(kFactor, code)];
        return kTable[row].code == code ? row : kTable.size();
    }

  private:
    static constexpr size_t kSlots = 8 * std::bit_ceil(kTable.size());

    static constexpr size_t slotOf(uint32_t factor, int32_t code) {
        return static_cast<uint32_t>(code) * factor >> (32 - std::countr_zero(kSlots));
    }

    static constexpr bool separates(uint32_t factor) {
        std::array<bool, kSlots> taken{};
        return std::none_of(kTable.begin(), kTable.end(), [&](const auto& row) {
            return std::exchange(taken[slotOf(factor, row.code)], true);
        });
    }

    static constexpr uint32_t kFactor = [] {
        uint32_t factor = 0x9E3779B1;  // 2^32 by the golden ratio: spreads codes that follow on
        while (!separates(factor)) {
            factor += 2;
        }
        return factor;
    }();

    // Empty slots name the first row, whose code tells that it was not meant.
    static constexpr auto kRows = [] {
        std::array<uint8_t, kSlots> rows{};
        static_assert(kTable.size() <= UINT8_MAX);
        for (size_t row = 0; row < kTable.size(); ++row) {
            rows[slotOf(kFactor, kTable[row].code)] = static_cast<uint8_t>(row);
        }
        return rows;
    }();
};

// The row of `code` in a table in ascending order of codes, or null.
template <const auto& kTable>
constexpr const auto* findCode(int32_t code) {
    const size_t row = CodeIndex<kTable>::rowOf(code);
    return row < kTable.size() ? &kTable[row] : nullptr;
}

}  // namespace NSCam::gralloc
