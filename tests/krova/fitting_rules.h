// What it means for a value to fit a definition, told again and as plainly as possible. The product
// walks with a stack and reports; this recurses and says yes or no.
#pragma once

#include <string>

#include "krova/data/definition.h"
#include "krova/data/value.h"

namespace Krova::Testing {

class FittingRules {
 public:
  /// \param strict  Whether fields that aren't defined are restricted.
  explicit FittingRules(bool strict) : strict_(strict) {}

  bool Fits(const Data::DefinitionPointer& definition, const Data::ValuePointer& value) const {
    using namespace Data;
    if (definition == nullptr || value == nullptr) return definition == nullptr && value == nullptr;
    const DataDefinition* d = definition.get();
    const DataType kind = TypeOf(value);
    if (dynamic_cast<const OpaqueDefinition*>(d)) return true;
    if (const auto* reference = dynamic_cast<const StructRefDefinition*>(d)) {
      return reference->GetTarget() != nullptr && Fits(reference->GetTarget(), value);
    }
    if (dynamic_cast<const DynamicStructureDefinition*>(d) ||
        dynamic_cast<const DynamicErrorDefinition*>(d)) {
      return (kind == DataType::kStruct || kind == DataType::kError) &&
             HasDefinedFields(dynamic_cast<const FieldDefinitions&>(*d), FieldsOf(value));
    }
    if (kind != d->GetType()) return false;
    if (const auto* texts = dynamic_cast<const IsOneOfDefinition*>(d)) {
      return texts->GetValues().contains(ValueCast<StringValue>(value)->GetValue());
    }
    if (const auto* cases = dynamic_cast<const UnionCaseDefinition*>(d)) {
      return FitsUnion(*cases, *ValueCast<OptionalValue>(value));
    }
    if (const auto* optional = dynamic_cast<const OptionalDefinition*>(d)) {
      const auto held = ValueCast<OptionalValue>(value);
      return !held->HasValue() || Fits(optional->GetElement(), held->GetValue());
    }
    if (const auto* list = dynamic_cast<const ListDefinition*>(d)) {
      for (const ValuePointer& element : *ValueCast<ListValue>(value)) {
        if (!Fits(list->GetElement(), element)) return false;
      }
      return true;
    }
    if (const auto* fields = dynamic_cast<const NamedDefinition*>(d)) {
      return HasDefinedFields(*fields, FieldsOf(value)) &&
             (!strict_ || HasNoOtherFields(*fields, FieldsOf(value)));
    }
    return true;
  }

 private:
  static const Data::NamedFields& FieldsOf(const Data::ValuePointer& value) {
    return dynamic_cast<const Data::NamedFields&>(*value);
  }

  bool HasDefinedFields(const Data::FieldDefinitions& defined,
                        const Data::NamedFields& fields) const {
    for (const auto& [name, definition] : defined.GetFields()) {
      const Data::ValuePointer* field = fields.FindField(name);
      const bool optional =
          dynamic_cast<const Data::OptionalDefinition*>(definition.get()) != nullptr;
      if (field == nullptr ? !optional : !Fits(definition, *field)) return false;
    }
    return true;
  }

  static bool HasNoOtherFields(const Data::FieldDefinitions& defined,
                               const Data::NamedFields& fields) {
    if (fields.size() <= defined.GetFields().size()) return true;
    for (const auto& [name, value] : fields) {
      if (defined.GetFields().contains(name)) continue;
      const auto optional = Data::ValueCast<Data::OptionalValue>(value);
      if (optional == nullptr || optional->HasValue()) return false;
    }
    return true;
  }

  static bool IsSet(const Data::StructValue& structure, const std::string& name) {
    const Data::ValuePointer* field = structure.FindField(name);
    if (field == nullptr || *field == nullptr) return false;
    const auto optional = Data::ValueCast<Data::OptionalValue>(*field);
    return optional == nullptr || optional->HasValue();
  }

  static bool FitsUnion(const Data::UnionCaseDefinition& definition,
                        const Data::OptionalValue& value) {
    if (!value.HasValue()) return true;
    const auto structure = Data::ValueCast<Data::StructValue>(value.GetValue());
    if (structure == nullptr || !structure->HasField(definition.GetTag())) return false;
    const auto tag = Data::ValueCast<Data::StringValue>(*structure->FindField(definition.GetTag()));
    if (tag == nullptr || !definition.GetCases().contains(tag->GetValue())) return false;
    const auto& wanted = definition.GetCases().at(tag->GetValue());
    for (const auto& [other, fields] : definition.GetCases()) {
      for (const std::string& name : fields) {
        if (IsSet(*structure, name) != wanted.contains(name)) return false;
      }
    }
    return true;
  }

  const bool strict_;
};

}  // namespace Krova::Testing
