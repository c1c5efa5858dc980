#include "machine/document_schema.h"

#include <json/reader.h>

#include <memory>
#include <regex>
#include <valijson/adapters/jsoncpp_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>
#include <vector>

namespace Lab {
namespace {

using valijson::ValidationResults;

/// The validator writes a step of a path as [name], the first as <root>.
std::string StepName(const std::string& step) { return step.substr(1, step.size() - 2); }

const Json::Value& FollowReference(const Json::Value& schema, const Json::Value& node) {
  if (!node.isObject() || !node["$ref"].isString()) return node;
  constexpr std::string_view kDefinitions = "#/definitions/";
  const std::string name = node["$ref"].asString().substr(kDefinitions.size());
  return FollowReference(schema, schema["definitions"][name]);
}

/// \return What the schema says of the place that the path leads to; null for an unknown member.
const Json::Value& SchemaAt(const Json::Value& schema, const std::vector<std::string>& path) {
  const Json::Value* node = &schema;
  for (std::size_t i = 1; i < path.size() && node->isObject(); ++i) {
    const Json::Value& above = FollowReference(schema, *node);
    const Json::Value& named = above["properties"][StepName(path[i])];
    if (!named.isNull()) {
      node = &named;
    } else if (above["items"].isObject()) {
      node = &above["items"];
    } else if (above["patternProperties"].isObject()) {
      node = &*above["patternProperties"].begin();
    } else {
      node = &above["additionalProperties"];
    }
  }
  return FollowReference(schema, *node);
}

std::string JoinPath(const std::vector<std::string>& path) {
  std::string joined;
  for (std::size_t i = 1; i < path.size(); ++i) joined += "/" + StepName(path[i]);
  return joined.empty() ? "/" : joined;
}

/// A fault in a member is reported for each object around it as well: the innermost tells most.
const ValidationResults::Error& Innermost(const ValidationResults& results) {
  const ValidationResults::Error* innermost = &*results.begin();
  for (const ValidationResults::Error& error : results) {
    if (error.context.size() > innermost->context.size()) innermost = &error;
  }
  return *innermost;
}

/// \return A member of \p object that its schema doesn't allow by name.
std::optional<std::string> UnknownMember(const Json::Value& object, const Json::Value& schema) {
  if (!object.isObject() || schema["additionalProperties"] != Json::Value(false)) {
    return std::nullopt;
  }
  const Json::Value& patterns = schema["patternProperties"];
  for (const std::string& name : object.getMemberNames()) {
    const bool fits = patterns.isObject() &&
                      std::regex_search(name, std::regex(patterns.getMemberNames().front()));
    if (!fits && !schema["properties"].isMember(name)) return name;
  }
  return std::nullopt;
}

const Json::Value& ValueAt(const Json::Value& document, const std::vector<std::string>& path) {
  const Json::Value* value = &document;
  for (std::size_t i = 1; i < path.size(); ++i) {
    const std::string name = StepName(path[i]);
    value = value->isArray() ? &(*value)[static_cast<Json::ArrayIndex>(std::stoul(name))]
                             : &(*value)[name];
  }
  return *value;
}

std::string KnownMembers(const Json::Value& schema) {
  if (schema["patternProperties"].isObject()) return schema["$comment"].asString();
  std::string joined;
  for (const std::string& name : schema["properties"].getMemberNames()) {
    joined += (joined.empty() ? "" : ", ") + name;
  }
  return joined;
}

}  // namespace

struct DocumentSchema::Loaded {
  Json::Value document;
  valijson::Schema rules;
};

DocumentSchema::DocumentSchema(std::string_view text) {
  auto loaded = std::make_unique<Loaded>();
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  reader->parse(text.data(), text.data() + text.size(), &loaded->document, nullptr);
  valijson::SchemaParser parser;
  parser.populateSchema(valijson::adapters::JsonCppAdapter(loaded->document), loaded->rules);
  loaded_ = std::move(loaded);
}

DocumentSchema::~DocumentSchema() = default;

std::optional<std::string> DocumentSchema::FindFault(const Json::Value& document) const {
  valijson::Validator validator;
  ValidationResults results;
  const valijson::adapters::JsonCppAdapter adapter(document);
  if (validator.validate(loaded_->rules, adapter, &results)) return std::nullopt;

  const std::vector<std::string> path = Innermost(results).context;
  const std::string place = JoinPath(path) + ": ";
  const Json::Value& schema = SchemaAt(loaded_->document, path);
  const Json::Value& value = ValueAt(document, path);
  if (const auto unknown = UnknownMember(value, schema)) {
    return place + "unknown member \"" + *unknown + "\"; expected " + KnownMembers(schema);
  }
  return place + "expected " + schema["description"].asString();
}

}  // namespace Lab
