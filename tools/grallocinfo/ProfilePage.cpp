#include "tools/grallocinfo/ProfilePage.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "tools/grallocinfo/Failure.h"
#include "tools/grallocinfo/Html.h"
#include "tools/grallocinfo/Library.h"
#include "tools/grallocinfo/PrintSvg.h"
#include "tools/grallocinfo/ProfileLayouts.h"
#include "tools/grallocinfo/ProfileText.h"

namespace grallocinfo {

namespace {

using zelkcam::profile::Device;
using zelkcam::profile::FormatRules;
using zelkcam::profile::kGranted;
using zelkcam::profile::PlaneNumbers;
using zelkcam::profile::Profile;
using zelkcam::profile::Reply;
using zelkcam::profile::Rule;

// What pictures are of.
constexpr std::pair<uint32_t, uint32_t> kPictured = {1920, 1080};

const std::string kNothing;

std::string codeAndName(int32_t format) {
    return describeFormat(formatName(format), format);
}

std::string sizeWords(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string oneDecimal(double value) {
    char text[40];
    (void)snprintf(text, sizeof(text), "%.1f", value);
    return text;
}

size_t answersIn(const Profile& profile) {
    size_t count = 0;
    for (const auto& group : profile.samples) {
        count += group.answers.size();
    }
    return count;
}

// What tells one profile from another; a line that one of them lacks stays empty.
std::vector<LabelledText> identityOf(const Profile& profile) {
    const size_t answers = answersIn(profile);
    return {{"profile", profile.name},
            {"device", profile.device},
            {"build", profile.build},
            {"recorded", profile.recorded},
            {"formats with rules", std::to_string(profile.formats.size())},
            {"samples", answers == 0 ? "none: the rules are stated" : std::to_string(answers)}};
}

HtmlCell marked(HtmlCell cell, bool isMarked) {
    cell.isMarked = isMarked && !cell.text.empty();
    return cell;
}

std::string labelledTable(const std::string& label, const std::vector<LabelledText>& lines) {
    std::vector<std::vector<HtmlCell>> rows;
    for (const auto& [label, text] : lines) {
        if (!text.empty()) {
            rows.push_back({label, text});
        }
    }
    return plainTable(label, {}, rows);
}

enum class Marks { kNone, kDifferences };

// The lines of both next to each other.
std::string pairedTable(const std::string& label, const std::vector<LabelledText>& left,
                        const std::vector<LabelledText>& right, const Profile& a, const Profile& b,
                        Marks marks) {
    std::vector<std::vector<HtmlCell>> rows;
    for (size_t i = 0; i < std::min(left.size(), right.size()); ++i) {
        if (!left[i].second.empty() || !right[i].second.empty()) {
            const bool differs = marks == Marks::kDifferences && left[i].second != right[i].second;
            rows.push_back({left[i].first, marked(left[i].second, differs),
                            marked(right[i].second, differs)});
        }
    }
    return plainTable(label, {kNothing, a.name, b.name}, rows);
}

std::string ruleLines(const RuleText& rule) {
    std::string text;
    for (const auto& [label, formula] : rule.formulas) {
        text.append(text.empty() ? "" : "\n").append(label).append(": ").append(formula);
    }
    return text;
}

std::string rulesTable(const Profile& profile) {
    HtmlTable table("rules", {"format", "when", "becomes", "formulas", "evidence", "guess"});
    for (const FormatRules& format : profile.formats) {
        for (const Rule& rule : format.rules) {
            const RuleText text = describe(rule, profile);
            table.add({codeAndName(format.format), text.conditions, text.outcome, ruleLines(text),
                       text.evidence,
                       marked(text.isPartlyGuessed ? "partly" : "no", text.isPartlyGuessed)});
        }
    }
    return "<p class=\"muted\">The first rule of a format whose condition holds decides. "
           "&ldquo;width, to 64&rdquo; is the width rounded up to a multiple of 64; (?) marks what "
           "the samples leave open.</p>\n" +
           table.text();
}

// "1984+1984": one number of every plane.
std::string planeSum(const Reply& reply, int64_t PlaneNumbers::*number) {
    std::string text;
    for (size_t i = 0; i < reply.shape->planes.size(); ++i) {
        text += (i == 0 ? "" : "+") + std::to_string(reply.numbers.planes[i].*number);
    }
    return text;
}

// Sorted by the first plane's number.
HtmlCell planeCell(const Reply& reply, int64_t PlaneNumbers::*number) {
    const std::string text = planeSum(reply, number);
    return {text, text.empty() ? kNothing : std::to_string(reply.numbers.planes[0].*number)};
}

// The part of the buffer that is no picture, in percent; empty where it is not known.
std::string paddingWords(const BufferGeometry& buffer) {
    const auto total = double(buffer.totalBytes());
    if (!buffer.pictureKnown || total <= 0) {
        return kNothing;
    }
    return oneDecimal(100 * std::max(0.0, total - double(buffer.pictureBytes())) / total);
}

const std::vector<std::string> kLayoutColumns = {
        "format",      "size",       "usage",        "becomes",   "row bytes", "plane starts",
        "plane sizes", "allocation", "bits a pixel", "padding %", "known"};

std::string outcomeWords(const ProfileLayout& layout) {
    const zelkcam::profile::Shape& shape = *layout.reply.shape;
    return (shape.format == layout.format ? "itself" : codeAndName(shape.format)) +
           (shape.modifier == 0 ? kNothing : "\nmodifier " + hex(shape.modifier));
}

// From "becomes" to "padding".
std::vector<HtmlCell> grantedCells(const ProfileLayout& layout) {
    const Reply& reply = layout.reply;
    const BufferGeometry buffer = geometryOf(layout);
    const std::string bits =
            oneDecimal(8 * double(buffer.totalBytes()) / layout.width / layout.height);
    const std::string padding = paddingWords(buffer);
    return {outcomeWords(layout),
            planeCell(reply, &PlaneNumbers::row),
            planeCell(reply, &PlaneNumbers::offset),
            planeCell(reply, &PlaneNumbers::size),
            HtmlCell::number(buffer.totalBytes()),
            {bits, bits},
            {padding, padding}};
}

std::vector<HtmlCell> refusedCells(const ProfileLayout& layout) {
    std::vector<HtmlCell> cells(7, kNothing);
    cells.front() = "refused with " + std::to_string(layout.reply.answer);
    return cells;
}

std::vector<HtmlCell> layoutCells(const ProfileLayout& layout) {
    const auto answer =
            layout.reply.answer == kGranted ? grantedCells(layout) : refusedCells(layout);
    std::vector<HtmlCell> cells = {codeAndName(layout.format),
                                   {sizeWords(layout.width, layout.height),
                                    std::to_string(uint64_t{layout.width} * layout.height)},
                                   usageWords(layout)};
    cells.insert(cells.end(), answer.begin(), answer.end());
    cells.push_back(marked(certaintyWords(layout), isPartlyGuessed(layout)));
    return cells;
}

std::string layoutsTable(const Device& device) {
    HtmlTable table("layouts", kLayoutColumns);
    for (const int32_t format : formatsOf({&device})) {
        for (const auto& [width, height] : kCommonSizes) {
            for (const ProfileLayout& layout : layoutsOf(device, format, width, height)) {
                table.add(layoutCells(layout));
            }
        }
    }
    return "<p class=\"muted\">Numbers of several planes are joined by +. Usages with one answer "
           "share a row.</p>\n" +
           table.text();
}

bool isDrawnAlike(const ProfileLayout& a, const ProfileLayout& b) {
    return a.reply.numbers == b.reply.numbers && a.reply.shape->format == b.reply.shape->format &&
           a.reply.shape->planes == b.reply.shape->planes;
}

// The granted answers at the size that is pictured, each picture once.
std::vector<ProfileLayout> picturesOf(const Device& device, int32_t format) {
    std::vector<ProfileLayout> pictures;
    for (const ProfileLayout& layout :
         layoutsOf(device, format, kPictured.first, kPictured.second)) {
        if (layout.reply.answer != kGranted) {
            continue;
        }
        const auto same = std::ranges::find_if(pictures, [&](const ProfileLayout& picture) {
            return isDrawnAlike(picture, layout);
        });
        if (same == pictures.end()) {
            pictures.push_back(layout);
        } else {
            same->usages.insert(same->usages.end(), layout.usages.begin(), layout.usages.end());
        }
    }
    return pictures;
}

std::string figure(const std::string& caption, const ProfileLayout& layout) {
    std::ostringstream drawing;
    printSvgInPage(drawing, geometryOf(layout));
    return "<figure><figcaption><bdi>" + asHtml(caption) +
           "</bdi></figcaption>\n<div class=\"scroll\" role=\"region\" tabindex=\"0\" "
           "aria-label=\"" +
           asHtml(caption) + "\">" + drawing.str() + "</div></figure>\n";
}

std::string captionOf(const ProfileLayout& layout) {
    const int32_t becomes = layout.reply.shape->format;
    return codeAndName(layout.format) + "  " + sizeWords(layout.width, layout.height) +
           (becomes == layout.format ? "" : ", becomes " + codeAndName(becomes)) + ", usage " +
           usageWords(layout);
}

std::string patternDefinitions() {
    std::ostringstream patterns;
    printSvgPatterns(patterns);
    return "<svg width=\"0\" height=\"0\" style=\"position: absolute\" aria-hidden=\"true\">" +
           patterns.str() + "</svg>\n";
}

std::string pictureList(const Device& device) {
    std::string figures;
    for (const int32_t format : formatsOf({&device})) {
        for (const ProfileLayout& layout : picturesOf(device, format)) {
            figures += "<div data-item>" + figure(captionOf(layout), layout) + "</div>\n";
        }
    }
    return patternDefinitions() +
           searchable("pictures", "<div class=\"pictures\">\n" + figures + "</div>\n");
}

std::string differenceTable(const std::vector<ProfileDifference>& differences,
                            const std::string& left, const std::string& right) {
    if (differences.empty()) {
        return "<p>no difference</p>\n";
    }
    HtmlTable table("differences", {"rank", "about", "what", left, right, "for example",
                                    "requests that differ", "% of those asked"});
    uint64_t rank = 0;
    for (const ProfileDifference& one : differences) {
        const bool isAsked = one.asked > 0;
        const std::string share =
                isAsked ? oneDecimal(100.0 * double(one.requests) / double(one.asked)) : "";
        table.add({HtmlCell::number(++rank), one.subject, one.what, one.left, one.right,
                   one.example, isAsked ? HtmlCell::number(one.requests) : HtmlCell(""),
                   HtmlCell(share, share)});
    }
    return table.text();
}

// The pictures of a format next to each other where the two devices draw it differently.
std::string pairedPictures(const Device& left, const Device& right) {
    std::string pairs;
    for (const int32_t format : formatsOf({&left, &right})) {
        const auto a = picturesOf(left, format);
        const auto b = picturesOf(right, format);
        if (std::ranges::equal(a, b, isDrawnAlike)) {
            continue;
        }
        const auto sideOf = [](const Device& device, const std::vector<ProfileLayout>& pictures) {
            std::string side = "<div><h3><bdi>" + asHtml(device.profile().name) + "</bdi></h3>\n";
            for (const ProfileLayout& layout : pictures) {
                side += figure(captionOf(layout), layout);
            }
            return side + (pictures.empty() ? "<p>refused</p>\n" : "") + "</div>\n";
        };
        pairs += "<div class=\"pair\" data-item>\n" + sideOf(left, a) + sideOf(right, b) +
                 "</div>\n";
    }
    return pairs.empty() ? "<p>no difference</p>\n"
                         : patternDefinitions() + searchable("pictures", pairs);
}

}  // namespace

void printProfilePage(std::ostream& out, const Profile& profile) {
    const Device device(profile);
    HtmlPage page("Device profile " + profile.name,
                  "<p><bdi>" + asHtml(profile.description) + "</bdi></p>\n");
    page.addSection("profile", "Profile", labelledTable("profile", identityOf(profile)));
    page.addSection("layouts", "Layouts", layoutsTable(device));
    page.addSection("rules", "Rules", rulesTable(profile));
    page.addSection("traits", "Traits", labelledTable("traits", describe(profile.traits)));
    if (!profile.locks.empty()) {
        page.addSection("locks", "Locks", labelledTable("locks", describe(profile.locks)));
    }
    page.addSection("pictures", "Pictures", pictureList(device));
    page.print(out);
}

void printDifferencePage(std::ostream& out, const Profile& left, const Profile& right,
                         const std::vector<ProfileDifference>& differences) {
    const Device from(left);
    const Device to(right);
    HtmlPage page(left.name + " and " + right.name,
                  "<p>What two devices answer differently, by their profiles, the most surprising "
                  "first.</p>\n");
    page.addSection("differences", "Differences",
                    differenceTable(differences, left.name, right.name));
    auto leftIdentity = identityOf(left);
    auto rightIdentity = identityOf(right);
    leftIdentity.emplace_back("description", left.description);
    rightIdentity.emplace_back("description", right.description);
    page.addSection(
            "profiles", "Profiles",
            pairedTable("profiles", leftIdentity, rightIdentity, left, right, Marks::kNone));
    page.addSection("traits", "Traits",
                    pairedTable("traits", describe(left.traits), describe(right.traits), left,
                                right, Marks::kDifferences));
    page.addSection("pictures", "Pictures", pairedPictures(from, to));
    page.print(out);
}

void printDifferencePage(std::ostream& out, const std::string& left, const std::string& right,
                         const std::vector<ProfileDifference>& differences) {
    HtmlPage page(left + " and " + right, "<p>What moved between two format lists.</p>\n");
    page.addSection("differences", "Differences", differenceTable(differences, left, right));
    page.print(out);
}

}  // namespace grallocinfo
