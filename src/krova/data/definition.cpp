#include "krova/data/definition.h"

#include "krova/data/deferred_release.h"

namespace Krova::Data {

bool IsLeaf(const DataDefinition& definition) {
  switch (definition.GetType()) {
    case DataType::kOptional:
    case DataType::kList:
    case DataType::kStruct:
    case DataType::kError:
    case DataType::kDynamicStruct:
    case DataType::kDynamicError:
      return false;
    default:
      return true;
  }
}

OptionalDefinition::~OptionalDefinition() {
  DeferredRelease<DataDefinition>().Release(std::move(element_));
}

ListDefinition::~ListDefinition() {
  DeferredRelease<DataDefinition>().Release(std::move(element_));
}

const DefinitionMap& FieldDefinitions::GetFields() const {
  static const DefinitionMap none;
  return fields_.has_value() ? *fields_ : none;
}

FieldDefinitions::~FieldDefinitions() {
  if (!fields_.has_value()) return;
  DeferredRelease<DataDefinition> release;
  for (auto& [name, definition] : *fields_) release.Release(std::move(definition));
}

}  // namespace Krova::Data
