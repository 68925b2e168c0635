// A value of a document that may come from anywhere, read with every bound checked.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "profile/Value.h"
#include "profile/Words.h"

namespace zelkcam::profile {

// Thrown where a document is wrong: where, and why.
struct BadProfile {
    std::string where;
    std::string why;
};

inline constexpr int64_t kMaxNumber = INT32_MAX;
inline constexpr size_t kMaxText = 200;

// One value of the document and the way to it. The way costs text only when something is wrong.
class Node {
  public:
    explicit Node(const Document& document) : mDocument(document), mValue(document.root()) {}
    Node(const Value& value, const Node* parent, std::string_view key)
        : mDocument(parent->mDocument), mValue(value), mParent(parent), mKey(key) {}
    Node(const Value& value, const Node* parent, size_t index)
        : mDocument(parent->mDocument), mValue(value), mParent(parent), mIndex(index) {}

    [[noreturn]] void fail(const std::string& why) const { throw BadProfile{path(), why}; }

    bool has(std::string_view key) const { return find(key) != nullptr; }
    Node at(std::string_view key) const {
        const Value* const found = find(key);
        if (found == nullptr) {
            fail("\"" + std::string(key) + "\" is missing");
        }
        return {*found, this, key};
    }
    Node at(size_t index) const {
        if (index >= mValue.count) {
            fail("more than " + std::to_string(mValue.count) + " elements expected");
        }
        return {mDocument.children(mValue)[index], this, index};
    }

    size_t count(size_t most) const {
        if (!isArray()) {
            fail("an array expected");
        }
        if (mValue.count > most) {
            fail("at most " + std::to_string(most) + " elements expected, not " +
                 std::to_string(mValue.count));
        }
        return mValue.count;
    }
    size_t size() const { return members().size() / 2; }
    bool isObject() const { return mValue.kind == Kind::kObject; }
    bool isArray() const { return mValue.kind == Kind::kArray; }
    bool isString() const { return mValue.kind == Kind::kText; }

    // Only what is named may stand in an object, and once: a misspelt word would count for nothing,
    // and of two values nobody knows which is meant.
    void allow(std::initializer_list<std::string_view> words) const;

    int64_t integer(int64_t least, int64_t most) const {
        if (mValue.kind != Kind::kInteger) {
            fail("a whole number expected");
        }
        const int64_t number = mValue.number;
        if (number < least || number > most) {
            fail("a number from " + std::to_string(least) + " to " + std::to_string(most) +
                 " expected, not " + std::to_string(number));
        }
        return number;
    }
    bool boolean() const {
        if (mValue.kind != Kind::kBoolean) {
            fail("true or false expected");
        }
        return mValue.number != 0;
    }
    // One line of so many bytes at most.
    std::string text(size_t most = kMaxText) const;
    // "0x20033", or a number.
    uint64_t bits() const;

    template <typename E, size_t N>
    E word(const Words<E, N>& words) const {
        const auto found = words.find(text());
        if (!found) {
            fail("\"" + text() + "\" is not known here");
        }
        return *found;
    }

  private:
    std::span<const Value> members() const {
        if (mValue.kind != Kind::kObject) {
            fail("an object expected");
        }
        return mDocument.children(mValue);
    }
    const Value* find(std::string_view key) const {
        const auto all = members();
        for (size_t i = 0; i < all.size(); i += 2) {
            if (mDocument.text(all[i]) == key) {
                return &all[i + 1];
            }
        }
        return nullptr;
    }
    std::string path() const;

    const Document& mDocument;
    const Value& mValue;
    const Node* mParent = nullptr;
    std::string_view mKey;
    size_t mIndex = 0;
};

template <typename T, typename Read>
std::vector<T> list(const Node& node, size_t most, const Read& read) {
    std::vector<T> values;
    const size_t count = node.count(most);
    values.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        values.push_back(read(node.at(i)));
    }
    return values;
}

template <typename T, typename Read>
std::vector<T> optionalList(const Node& node, std::string_view key, size_t most, const Read& read) {
    return node.has(key) ? list<T>(node.at(key), most, read) : std::vector<T>();
}

int64_t integerOr(const Node& node, std::string_view key, int64_t least, int64_t most,
                  int64_t otherwise);
bool booleanOr(const Node& node, std::string_view key, bool otherwise);
uint64_t bitsOr(const Node& node, std::string_view key);
std::string textOr(const Node& node, std::string_view key, size_t most = kMaxText);

int32_t code(const Node& node);
// Formats are often written as the unsigned number that they are known by.
int32_t formatCode(const Node& node);
// A refusal that stands for itself: never kGranted.
int32_t refusal(const Node& node);
// Four characters, or a number.
uint32_t fourcc(const Node& node);

}  // namespace zelkcam::profile
