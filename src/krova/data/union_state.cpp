#include "krova/data/union_state.h"

#include <set>
#include <string>

#include "krova/data/native.h"

namespace Krova::Data {
namespace {

using State = std::set<std::string, std::less<>>;

bool IsSet(const StructValue& structure, const std::string& name) {
  const ValuePointer* field = structure.FindField(name);
  if (field == nullptr || *field == nullptr) return false;
  const OptionalValue* optional = ValueCast<OptionalValue>(field->get());
  return optional == nullptr || optional->HasValue();
}

State FindState(const UnionCaseDefinition::Cases& cases, const StructValue& structure) {
  State state;
  for (const auto& [tag, fields] : cases) {
    for (const std::string& name : fields) {
      if (IsSet(structure, name)) state.insert(name);
    }
  }
  return state;
}

std::string PrintState(const State& state) {
  std::string text;
  for (const std::string& name : state) text += (text.empty() ? "" : ", ") + name;
  return "[" + text + "]";
}

}  // namespace

bool CheckUnionState(const UnionCaseDefinition& definition, const ValuePointer& value,
                     MessageList& errors) {
  if (value == nullptr) return false;
  const StructValue* structure = ValueCast<StructValue>(value.get());
  if (structure == nullptr) {
    errors.push_back(
        MakeMessage("krova.data.type.mismatch", TypeWord(DataType::kStruct), value->ToString()));
    return false;
  }
  if (!IsSet(*structure, definition.GetTag())) {
    errors.push_back(MakeMessage("krova.data.union.missing.tag.field", definition.GetTag()));
    return false;
  }
  std::string tag;
  if (!DataValueHelper::ToNative<Strict>(*structure->FindField(definition.GetTag()), tag, errors)) {
    return false;
  }
  const auto expected = definition.GetCases().find(tag);
  if (expected == definition.GetCases().end()) {
    errors.push_back(MakeMessage("krova.data.value.unknown", tag));
    return false;
  }
  const State found = FindState(definition.GetCases(), *structure);
  if (found == expected->second) return true;
  errors.push_back(MakeMessage("krova.data.union.invalid.case.state", PrintState(expected->second),
                               PrintState(found)));
  return false;
}

}  // namespace Krova::Data
