#include "JsonSchema.h"

#include <fstream>
#include <stdexcept>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

namespace {

using Adapter = valijson::adapters::NlohmannJsonAdapter;

nlohmann::json readSchema(const std::string& name) {
  std::ifstream file(std::string(ODAXGEN_SOURCE_FOLDER "/docs/schema/") + name + ".schema.json");
  if (!file) throw std::runtime_error("no schema " + name);
  return nlohmann::json::parse(file);
}

}  // namespace

std::string schemaProblems(const std::string& name, const nlohmann::json& document) {
  const nlohmann::json text = readSchema(name);
  valijson::Schema schema;
  valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(Adapter(text), schema);
  valijson::Validator validator;
  valijson::ValidationResults results;
  validator.validate(schema, Adapter(document), &results);
  std::string problems;
  for (valijson::ValidationResults::Error error; results.popError(error);) {
    for (const std::string& part : error.context) problems += part;
    problems += ": " + error.description + "\n";
  }
  return problems;
}
