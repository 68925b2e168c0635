#include "profile/Node.h"

#include <algorithm>
#include <cstdlib>

#include "profile/Profile.h"

namespace zelkcam::profile {
namespace {

// Foreign text would run into a message's line, or steer the terminal that it is printed on.
bool isControl(char character) {
    return static_cast<uint8_t>(character) < ' ' || character == 0x7f;
}

// A key of the document, for a message.
std::string shown(std::string_view key) {
    std::string text(key.substr(0, kMaxText));
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return "\"" + text + "\"";
}

}  // namespace

std::string Node::text(size_t most) const {
    if (!isString() || mValue.count > most) {
        fail("a text of at most " + std::to_string(most) + " bytes expected");
    }
    std::string text(mDocument.text(mValue));
    if (std::any_of(text.begin(), text.end(), isControl)) {
        fail("a text of one line expected, without control characters");
    }
    return text;
}

std::string Node::path() const {
    if (mParent == nullptr) {
        return "";
    }
    return mParent->path() + "/" + (mKey.empty() ? std::to_string(mIndex) : std::string(mKey));
}

void Node::allow(std::initializer_list<std::string_view> words) const {
    const auto all = members();
    for (size_t i = 0; i < all.size(); i += 2) {
        const std::string_view key = mDocument.text(all[i]);
        bool known = false;
        for (const std::string_view word : words) {
            known = known || word == key;
        }
        if (!known) {
            fail(shown(key) + " is not known here");
        }
        if (find(key) != &all[i + 1]) {
            fail(shown(key) + " stands here twice");
        }
    }
}

uint64_t Node::bits() const {
    if (!isString()) {
        return static_cast<uint64_t>(integer(0, INT64_MAX));
    }
    const std::string digits = text();
    const bool good = digits.size() > 2 && digits.size() <= 18 && digits.starts_with("0x") &&
                      digits.find_first_not_of("0123456789abcdef", 2) == std::string::npos;
    if (!good) {
        fail("bits such as \"0x20033\" expected");
    }
    return std::strtoull(digits.c_str(), nullptr, 16);
}

int64_t integerOr(const Node& node, std::string_view key, int64_t least, int64_t most,
                  int64_t otherwise) {
    return node.has(key) ? node.at(key).integer(least, most) : otherwise;
}

bool booleanOr(const Node& node, std::string_view key, bool otherwise) {
    return node.has(key) ? node.at(key).boolean() : otherwise;
}

uint64_t bitsOr(const Node& node, std::string_view key) {
    return node.has(key) ? node.at(key).bits() : 0;
}

std::string textOr(const Node& node, std::string_view key, size_t most) {
    return node.has(key) ? node.at(key).text(most) : std::string();
}

int32_t code(const Node& node) {
    return static_cast<int32_t>(node.integer(INT32_MIN, INT32_MAX));
}

int32_t formatCode(const Node& node) {
    if (node.isString()) {
        const uint64_t bits = node.bits();
        if (bits > UINT32_MAX) {
            node.fail("a format of 32 bits expected");
        }
        return static_cast<int32_t>(static_cast<uint32_t>(bits));
    }
    return static_cast<int32_t>(static_cast<uint32_t>(node.integer(INT32_MIN, UINT32_MAX)));
}

int32_t refusal(const Node& node) {
    const int64_t value = node.integer(kOtherException, INT32_MAX);
    if (value == kGranted) {
        node.fail("a refusal expected");
    }
    return static_cast<int32_t>(value);
}

uint32_t fourcc(const Node& node) {
    if (!node.isString()) {
        return static_cast<uint32_t>(node.integer(0, UINT32_MAX));
    }
    const std::string name = node.text(4);
    if (name.size() != 4) {
        node.fail("four characters expected");
    }
    uint32_t value = 0;
    for (size_t i = 4; i-- > 0;) {
        value = value << 8 | static_cast<uint8_t>(name[i]);
    }
    return value;
}

}  // namespace zelkcam::profile
