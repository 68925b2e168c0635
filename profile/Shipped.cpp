#include "profile/Shipped.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

#include "profile/Json.h"

namespace zelkcam::profile {
namespace {

// The build makes it of the documents in profile/shipped.
constexpr ShippedProfile kShipped[] = {
#include "profile/ShippedDocuments.inc"
};

uint64_t fingerprintOf(std::string_view document) {
    uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : document) {
        hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001b3;
    }
    return hash;
}

std::optional<std::string> readFile(const std::string& path, std::string* error) {
    std::string text;
    std::array<char, 65536> piece;
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    while (file && text.size() <= kMaxDocumentSize) {
        file.read(piece.data(), piece.size());
        text.append(piece.data(), static_cast<size_t>(file.gcount()));
    }
    // A folder opens, and fails only when it is read.
    if (!file.is_open() || (text.empty() && errno != 0)) {
        *error = "cannot be read (" + std::string(strerror(errno ? errno : EIO)) + ")";
        return std::nullopt;
    }
    return text;
}

}  // namespace

std::span<const ShippedProfile> shippedProfiles() {
    return kShipped;
}

std::optional<Loaded> load(const std::string& nameOrFile, std::string* error) {
    const auto shipped = std::find_if(
            std::begin(kShipped), std::end(kShipped),
            [&](const ShippedProfile& candidate) { return candidate.name == nameOrFile; });
    std::string why;
    std::optional<std::string> file;
    if (shipped == std::end(kShipped)) {
        file = readFile(nameOrFile, &why);
    }
    if (file || shipped != std::end(kShipped)) {
        const std::string_view document = file ? std::string_view(*file) : shipped->document;
        if (auto profile = readJson(document, &why)) {
            return Loaded{std::move(*profile), fingerprintOf(document)};
        }
    }
    *error = "device profile \"" + nameOrFile + "\": " + why;
    return std::nullopt;
}

}  // namespace zelkcam::profile
