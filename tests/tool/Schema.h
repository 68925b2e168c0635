// Holds a document against the schema that docs/ publishes.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace zelkcam::test {

// What is wrong with `document` as the definition `kind` of the schema; empty when nothing is.
// Knows the keywords that the schema uses: $ref, type, const, enum, pattern, required, properties,
// additionalProperties, items.
std::string schemaError(const nlohmann::ordered_json& document, const std::string& kind);

}  // namespace zelkcam::test
