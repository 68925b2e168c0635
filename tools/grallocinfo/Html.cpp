#include "tools/grallocinfo/Html.h"

#include <algorithm>

namespace grallocinfo {

namespace {

// The build makes it of page.html.
constexpr std::string_view kFrame =
#include "tools/grallocinfo/PageFrame.inc"
        ;

constexpr char kReplacement[] = "\uFFFD";

// Turn the direction of what follows, also outside of the text that they are in.
constexpr std::string_view kTurning[] = {"\u202A", "\u202B", "\u202C", "\u202D", "\u202E",
                                         "\u2066", "\u2067", "\u2068", "\u2069"};

std::string escapedByte(char byte) {
    switch (byte) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            break;
    }
    const bool isControl = static_cast<unsigned char>(byte) < ' ' && byte != '\n';
    return isControl || byte == '\x7f' ? kReplacement : std::string(1, byte);
}

std::string cellText(const char* element, const HtmlCell& cell) {
    std::string text = std::string("<") + element;
    if (!cell.key.empty()) {
        text += " data-key=\"" + asHtml(cell.key) + "\"";
    }
    constexpr size_t kLong = 24;
    if (cell.text.size() > kLong) {
        text += " class=\"long\"";
    }
    // The text of a device may run from right to left without turning its neighbours round.
    const char* const wrap = cell.isMarked ? "mark" : "bdi";
    return text + "><" + wrap + ">" + asHtml(cell.text) + "</" + wrap + ">";
}

std::string rowText(const std::vector<HtmlCell>& cells) {
    std::string text;
    for (const HtmlCell& cell : cells) {
        const bool isHeading = &cell == cells.data();
        text += isHeading ? cellText("th scope=\"row\"", cell) + "</th>"
                          : cellText("td", cell) + "</td>";
    }
    return text;
}

std::string headText(const std::vector<std::string>& columns) {
    std::string text;
    for (const std::string& column : columns) {
        text += cellText("th scope=\"col\"", column) + "</th>";
    }
    return text;
}

std::string scrollBox(const std::string& label, const std::string& content) {
    return "<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-label=\"" + asHtml(label) +
           "\">\n" + content + "</div>\n";
}

}  // namespace

std::string asHtml(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const bool turns = std::ranges::any_of(
                kTurning, [&](std::string_view known) { return text.starts_with(known); });
        result += turns ? kReplacement : escapedByte(text.front());
        text.remove_prefix(turns ? kTurning[0].size() : 1);
    }
    return result;
}

HtmlTable::HtmlTable(std::string label, const std::vector<std::string>& columns)
    : mLabel(std::move(label)), mColumns(headText(columns)) {}

void HtmlTable::add(const std::vector<HtmlCell>& cells) {
    mRows += "<tr data-item>" + rowText(cells) + "</tr>\n";
}

std::string HtmlTable::text() const {
    return searchable(mLabel, scrollBox(mLabel, "<table class=\"sortable\">\n<thead><tr>" +
                                                        mColumns + "</tr></thead>\n<tbody>\n" +
                                                        mRows + "</tbody>\n</table>\n"));
}

std::string searchable(const std::string& label, const std::string& items) {
    return "<div class=\"searchable\">\n<p class=\"search\" hidden><label>Search " + asHtml(label) +
           " <input type=\"search\" placeholder=\"several words narrow it down\" "
           "autocomplete=\"off\" spellcheck=\"false\"></label> <output></output></p>\n" +
           items + "</div>\n";
}

std::string plainTable(const std::string& label, const std::vector<std::string>& columns,
                       const std::vector<std::vector<HtmlCell>>& rows) {
    std::string text = "<table>\n";
    if (!columns.empty()) {
        text += "<thead><tr>" + headText(columns) + "</tr></thead>\n";
    }
    for (const auto& row : rows) {
        text += "<tr>" + rowText(row) + "</tr>\n";
    }
    return scrollBox(label, text + "</table>\n");
}

void HtmlPage::addSection(const std::string& id, const std::string& heading,
                          const std::string& content) {
    mContents += "<li><a href=\"#" + id + "\">" + asHtml(heading) + "</a></li>";
    mSections += "<section id=\"" + id + "\">\n<h2>" + asHtml(heading) + "</h2>\n" + content +
                 "</section>\n";
}

void HtmlPage::print(std::ostream& out) const {
    const std::pair<std::string_view, std::string> kParts[] = {
            {"{{title}}", asHtml(mTitle)},
            {"{{heading}}", "<bdi>" + asHtml(mTitle) + "</bdi>"},
            {"{{lead}}", mLead},
            {"{{contents}}", mContents},
            {"{{sections}}", mSections}};
    // In the order of the frame, so that nothing is looked for in what was put in.
    size_t at = 0;
    for (const auto& [name, part] : kParts) {
        const size_t place = kFrame.find(name, at);
        out << kFrame.substr(at, place - at) << part;
        at = place + name.size();
    }
    out << kFrame.substr(at);
}

}  // namespace grallocinfo
