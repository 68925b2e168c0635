// Rows in ascending order of a key, and how one is found by it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace NSCam::gralloc {

// The row whose `member` is `key` among `count` rows in ascending order of `member`, or null. No
// branch depends on a comparison: which way a search turns is unpredictable, and a wrong guess
// costs more than the step itself.
template <typename Row, typename Key>
constexpr const Row* findRow(const Row* row, size_t count, const Key& key, Key Row::*member) {
    for (size_t left = count; left > 1; left -= left / 2) {
        row += (key < row[left / 2].*member ? 0 : left / 2);
    }
    return count != 0 && row->*member == key ? row : nullptr;
}

// Whether the rows of a table are in ascending order of their codes, no code twice.
template <typename Row, size_t Rows>
consteval bool ascendingByCode(const std::array<Row, Rows>& table) {
    return std::adjacent_find(table.begin(), table.end(), [](const Row& left, const Row& right) {
               return left.code >= right.code;
           }) == table.end();
}

// The row of `code`, or null.
template <const auto& kTable>
constexpr const auto* findCode(int32_t code) {
    using Row = typename std::remove_cvref_t<decltype(kTable)>::value_type;
    static_assert(ascendingByCode(kTable));
    return findRow(kTable.data(), kTable.size(), code, &Row::code);
}

}  // namespace NSCam::gralloc
