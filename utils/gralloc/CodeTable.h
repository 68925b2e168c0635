// Tables whose rows are found by a code.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace NSCam::gralloc {

// Whether the rows stand in ascending order of their codes, no code twice: what findCode asks for.
template <typename Row, size_t Rows>
consteval bool ascendingByCode(const std::array<Row, Rows>& table) {
    return std::adjacent_find(table.begin(), table.end(), [](const Row& left, const Row& right) {
               return left.code >= right.code;
           }) == table.end();
}

// The row of `code`, or null.
template <typename Row, size_t Rows>
constexpr const Row* findCode(const std::array<Row, Rows>& table, int32_t code) {
    if (code < table.front().code || code > table.back().code)
        return nullptr;
    const auto row = std::lower_bound(table.begin(), table.end(), code,
                                      [](const Row& row, int32_t code) { return row.code < code; });
    return row->code == code ? &*row : nullptr;
}

}  // namespace NSCam::gralloc
