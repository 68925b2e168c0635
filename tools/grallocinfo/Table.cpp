#include "tools/grallocinfo/Table.h"

#include <algorithm>

namespace grallocinfo {

void Table::printRow(std::ostream& out, const std::vector<std::string>& cells,
                     const std::vector<size_t>& widths) const {
    std::string line;
    for (size_t i = 0; i < cells.size() && i < mColumns.size(); ++i) {
        const std::string padding(widths[i] - cells[i].size(), ' ');
        line += i == 0 ? "" : "  ";
        line += mColumns[i].align == Align::kRight ? padding + cells[i] : cells[i] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

void Table::print(std::ostream& out) const {
    std::vector<std::string> titles;
    std::vector<size_t> widths;
    for (size_t i = 0; i < mColumns.size(); ++i) {
        titles.push_back(mColumns[i].title);
        widths.push_back(mColumns[i].title.size());
        for (const auto& row : mRows) {
            if (i < row.size()) {
                widths[i] = std::max(widths[i], row[i].size());
            }
        }
    }
    printRow(out, titles, widths);
    for (const auto& row : mRows) {
        printRow(out, row, widths);
    }
}

}  // namespace grallocinfo
