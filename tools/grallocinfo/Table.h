// Text in columns.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace grallocinfo {

enum class Align { kLeft, kRight };

class Table {
  public:
    struct Column {
        std::string title;
        Align align = Align::kRight;
    };

    explicit Table(std::vector<Column> columns) : mColumns(std::move(columns)) {}

    // Missing cells at the end stay empty.
    void add(std::vector<std::string> cells) { mRows.push_back(std::move(cells)); }

    // Titles and rows, two blanks between columns, none at the end of a line.
    void print(std::ostream& out) const;

  private:
    void printRow(std::ostream& out, const std::vector<std::string>& cells,
                  const std::vector<size_t>& widths) const;

    std::vector<Column> mColumns;
    std::vector<std::vector<std::string>> mRows;
};

}  // namespace grallocinfo
