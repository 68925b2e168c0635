// Answers as JSON for programs. Every document begins with "schemaVersion";
// docs/grallocinfo.schema.json defines their shapes. Codes are numbers, with a neighbour "...Hex"
// as text.
#pragma once

#include <ostream>

#include <nlohmann/json.hpp>

#include "tools/grallocinfo/Answers.h"
#include "tools/grallocinfo/Failure.h"

namespace grallocinfo {

using Json = nlohmann::ordered_json;

inline constexpr int kSchemaVersion = 2;

Json layoutDocument(const LayoutAnswer& answer);
// Parts of the layout's document.
Json mapperDocument(const MapperAnswer& mapper);
Json allocationDocument(const Allocation& allocation);
Json formatsDocument(const FormatList& list);
Json bufferDocument(const BufferAnswer& buffer);
Json failureDocument(const Failure& failure);

// An empty document of the current version.
Json newDocument();

// Puts a code and its text into `object`: "format" and "formatHex".
void putCode(Json& object, const std::string& key, int32_t code);
void putUnsignedCode(Json& object, const std::string& key, uint32_t code);

void printJson(std::ostream& out, const Json& document);

}  // namespace grallocinfo
