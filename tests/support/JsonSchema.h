// JsonSchema - holds JSON that the command prints against the schema that the documents promise.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// @param name  of docs/schema/NAME.schema.json
/// @return what is wrong with the document, a line each; empty: it keeps the schema
std::string schemaProblems(const std::string& name, const nlohmann::json& document);
