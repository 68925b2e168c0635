#include "tests/tool/Schema.h"

#include <fstream>
#include <regex>

namespace zelkcam::test {

namespace {

using Json = nlohmann::ordered_json;

const Json& wholeSchema() {
    static const Json schema = Json::parse(std::ifstream(SCHEMA_FILE));
    return schema;
}

bool hasType(const Json& value, const std::string& type) {
    if (type == "integer") {
        return value.is_number_integer();
    }
    if (type == "number") {
        return value.is_number();
    }
    if (type == "string") {
        return value.is_string();
    }
    if (type == "array") {
        return value.is_array();
    }
    if (type == "object") {
        return value.is_object();
    }
    return type == "null" && value.is_null();
}

bool hasOneType(const Json& value, const Json& types) {
    if (types.is_string()) {
        return hasType(value, types);
    }
    return std::any_of(types.begin(), types.end(),
                       [&](const Json& type) { return hasType(value, type); });
}

std::string check(const Json& value, const Json& schema, const std::string& where);

std::string checkMembers(const Json& value, const Json& schema, const std::string& where) {
    const Json properties = schema.value("properties", Json::object());
    for (const Json& name : schema.value("required", Json::array())) {
        if (!value.contains(name.get<std::string>())) {
            return where + " lacks " + name.dump();
        }
    }
    for (const auto& [name, member] : value.items()) {
        if (!properties.contains(name)) {
            return where + " holds " + name + ", which the schema does not know";
        }
        if (const auto error = check(member, properties[name], where + "/" + name);
            !error.empty()) {
            return error;
        }
    }
    return "";
}

std::string checkItems(const Json& value, const Json& schema, const std::string& where) {
    for (size_t i = 0; i < value.size(); ++i) {
        if (const auto error = check(value[i], schema["items"], where + "/" + std::to_string(i));
            !error.empty()) {
            return error;
        }
    }
    return "";
}

std::string check(const Json& value, const Json& schema, const std::string& where) {
    if (schema.contains("$ref")) {
        return check(value,
                     wholeSchema()[Json::json_pointer(schema["$ref"].get<std::string>().substr(1))],
                     where);
    }
    if (schema.contains("type") && !hasOneType(value, schema["type"])) {
        return where + " is of another type: " + value.dump();
    }
    if (schema.contains("const") && value != schema["const"]) {
        return where + " is another value: " + value.dump();
    }
    const Json choices = schema.value("enum", Json());
    if (choices.is_array() && std::find(choices.begin(), choices.end(), value) == choices.end()) {
        return where + " is none of the values: " + value.dump();
    }
    if (schema.contains("pattern") && value.is_string() &&
        !std::regex_match(value.get<std::string>(),
                          std::regex(schema["pattern"].get<std::string>()))) {
        return where + " does not match: " + value.dump();
    }
    if (value.is_object()) {
        return checkMembers(value, schema, where);
    }
    return value.is_array() && schema.contains("items") ? checkItems(value, schema, where) : "";
}

}  // namespace

std::string schemaError(const Json& document, const std::string& kind) {
    if (!document.is_object() || document.empty() || document.begin().key() != "schemaVersion") {
        return "schemaVersion does not come first";
    }
    return check(document, wholeSchema()["definitions"][kind], kind);
}

}  // namespace zelkcam::test
