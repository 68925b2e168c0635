// A page that needs nothing but itself: no network, no other file. page.html is its frame.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace grallocinfo {

// Whatever `text` holds, as HTML shows it in an element or in an attribute between double quotes.
std::string asHtml(std::string_view text);

// A cell shows `text`; its lines stand below each other. It is sorted by `key`, if not empty, which
// is a number then. A marked one is one to be careful with.
struct HtmlCell {
    HtmlCell(std::string shown, std::string sortedBy = {})
        : text(std::move(shown)), key(std::move(sortedBy)) {}
    HtmlCell(const char* shown) : text(shown) {}
    static HtmlCell number(uint64_t value) {
        return {std::to_string(value), std::to_string(value)};
    }

    std::string text;
    std::string key;
    bool isMarked = false;
};

// A table with a search box, sorted by any of its columns, in a box of its own that scrolls. The
// first cell of a row is the row's heading.
class HtmlTable {
  public:
    // `label` is what the table holds, for those who cannot see it.
    HtmlTable(std::string label, const std::vector<std::string>& columns);

    void add(const std::vector<HtmlCell>& cells);
    std::string text() const;

  private:
    const std::string mLabel;
    const std::string mColumns;
    std::string mRows;
};

// A search box above `items`, elements with the attribute data-item that it leaves or hides.
std::string searchable(const std::string& label, const std::string& items);

// The first cell of a row is the row's heading; without `columns` they have none.
std::string plainTable(const std::string& label, const std::vector<std::string>& columns,
                       const std::vector<std::vector<HtmlCell>>& rows);

class HtmlPage {
  public:
    // `lead` is HTML that stands below the title.
    HtmlPage(std::string title, std::string lead)
        : mTitle(std::move(title)), mLead(std::move(lead)) {}

    // `content` is HTML; the list at the top of the page leads to it by `id`.
    void addSection(const std::string& id, const std::string& heading, const std::string& content);
    void print(std::ostream& out) const;

  private:
    const std::string mTitle;
    const std::string mLead;
    std::string mContents;
    std::string mSections;
};

}  // namespace grallocinfo
