#include "profile/Value.h"

#include <nlohmann/json.hpp>

namespace zelkcam::profile {

// What is open lies on a stack; the children of what is closed move to the document together.
class DocumentBuilder : public nlohmann::json::json_sax_t {
  public:
    explicit DocumentBuilder(size_t length) {
        mDocument.mValues.reserve(length / 4);
        mOpen.reserve(256);
    }

    Document take() {
        mDocument.mValues.push_back(mStack.back());
        return std::move(mDocument);
    }
    const std::string& error() const { return mError; }

    bool null() override { return push({}); }
    bool boolean(bool value) override { return push({.kind = Kind::kBoolean, .number = value}); }
    bool number_integer(number_integer_t value) override {
        return push({.kind = Kind::kInteger, .number = value});
    }
    bool number_unsigned(number_unsigned_t value) override {
        const bool fits = value <= INT64_MAX;
        return push({.kind = fits ? Kind::kInteger : Kind::kOtherNumber,
                     .number = fits ? static_cast<int64_t>(value) : 0});
    }
    bool number_float(number_float_t, const string_t&) override {
        return push({.kind = Kind::kOtherNumber});
    }
    bool string(string_t& text) override {
        const auto first = static_cast<uint32_t>(mDocument.mTexts.size());
        mDocument.mTexts += text;
        return push({Kind::kText, first, static_cast<uint32_t>(text.size())});
    }
    bool binary(binary_t&) override { return false; }
    bool key(string_t& text) override { return string(text); }
    bool start_object(size_t) override { return open(); }
    bool start_array(size_t) override { return open(); }
    bool end_object() override { return close(Kind::kObject); }
    bool end_array() override { return close(Kind::kArray); }
    bool parse_error(size_t, const std::string&,
                     const nlohmann::json::exception& exception) override {
        mError = exception.what();
        // Behind the name that the JSON library has for the error.
        mError.erase(0, mError.starts_with('[') ? mError.find("] ") + 2 : 0);
        return false;
    }

  private:
    bool push(const Value& value) {
        mStack.push_back(value);
        return true;
    }
    bool open() {
        mOpen.push_back(mStack.size());
        return true;
    }
    bool close(Kind kind) {
        auto& values = mDocument.mValues;
        const auto first = static_cast<uint32_t>(values.size());
        const auto begin = mStack.begin() + static_cast<ptrdiff_t>(mOpen.back());
        values.insert(values.end(), begin, mStack.end());
        mStack.erase(begin, mStack.end());
        mOpen.pop_back();
        return push({kind, first, static_cast<uint32_t>(values.size()) - first});
    }

    Document mDocument;
    std::vector<Value> mStack;
    std::vector<size_t> mOpen;
    std::string mError;
};

std::optional<Document> Document::parse(std::string_view text, std::string* error) {
    DocumentBuilder builder(text.size());
    if (!nlohmann::json::sax_parse(text, &builder)) {
        *error = builder.error();
        return std::nullopt;
    }
    return builder.take();
}

}  // namespace zelkcam::profile
