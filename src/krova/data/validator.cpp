#include "krova/data/validator.h"

#include <string>
#include <type_traits>
#include <vector>

#include "krova/data/native.h"
#include "krova/data/union_state.h"

namespace Krova::Data {
namespace {

// Walks both trees with a stack of what is still to be tested. The first fault ends the walk, so
// that one bad value gives one report.
template <typename Match>
class DefinitionToEntriesVisitor final : public DefinitionVisitor {
 public:
  explicit DefinitionToEntriesVisitor(MessageList& errors) : errors_(errors) {}

  bool Run(const DataDefinition* definition, const DataValue* value) {
    Push(definition, value);
    while (fits_ && !entries_.empty()) {
      const Entry entry = entries_.back();
      entries_.pop_back();
      value_ = entry.value;
      if (entry.definition != nullptr && entry.value != nullptr) {
        entry.definition->Accept(*this);
      } else {
        fits_ = entry.definition == nullptr && entry.value == nullptr;
      }
    }
    return fits_;
  }

  void Visit(const std::shared_ptr<const VoidDefinition>& definition) override {
    (void)CastTo<VoidValue>(*definition);
  }
  void Visit(const std::shared_ptr<const OpaqueDefinition>&) override {}
  void Visit(const std::shared_ptr<const DynamicStructureDefinition>& definition) override {
    CheckDynamic(*definition, *definition);
  }
  void Visit(const std::shared_ptr<const DynamicErrorDefinition>& definition) override {
    CheckDynamic(*definition, *definition);
  }
  void Visit(const std::shared_ptr<const IntegerDefinition>& definition) override {
    (void)CastTo<IntegerValue>(*definition);
  }
  void Visit(const std::shared_ptr<const DoubleDefinition>& definition) override {
    (void)CastTo<DoubleValue>(*definition);
  }
  void Visit(const std::shared_ptr<const BooleanDefinition>& definition) override {
    (void)CastTo<BooleanValue>(*definition);
  }
  void Visit(const std::shared_ptr<const BlobDefinition>& definition) override {
    (void)CastTo<BlobValue>(*definition);
  }
  void Visit(const std::shared_ptr<const StringDefinition>& definition) override {
    (void)CastTo<StringValue>(*definition);
  }
  void Visit(const std::shared_ptr<const SecretDefinition>& definition) override {
    (void)CastTo<SecretValue>(*definition);
  }
  void Visit(const std::shared_ptr<const ErrorDefinition>& definition) override {
    const ErrorValue* error = CastTo<ErrorValue>(*definition);
    if (error != nullptr) CheckCompound(*definition, *definition, *error);
  }
  void Visit(const std::shared_ptr<const OptionalDefinition>& definition) override {
    const OptionalValue* optional = CastTo<OptionalValue>(*definition);
    if (optional == nullptr || !optional->HasValue()) return;
    Push(definition->GetElement().get(), optional->GetValue().get());
  }
  void Visit(const std::shared_ptr<const ListDefinition>& definition) override {
    const ListValue* list = CastTo<ListValue>(*definition);
    if (list == nullptr) return;
    for (auto element = list->rbegin(); element != list->rend(); ++element) {
      Push(definition->GetElement().get(), element->get());
    }
  }
  void Visit(const std::shared_ptr<const StructDefinition>& definition) override {
    const StructValue* structure = CastTo<StructValue>(*definition);
    if (structure != nullptr) CheckCompound(*definition, *definition, *structure);
  }
  void Visit(const std::shared_ptr<const StructRefDefinition>& definition) override {
    const auto target = definition->GetTarget();
    if (target == nullptr) {
      // Whoever built the definitions forgot to set the holder. Nothing may pass for that.
      fits_ = false;
      return;
    }
    target->Accept(*this);
  }
  void Visit(const std::shared_ptr<const IsOneOfDefinition>& definition) override {
    if (CastTo<StringValue>(*definition) == nullptr) return;
    std::string text;
    if (!DataValueHelper::ToNative<Strict>(value_, text, errors_)) {
      fits_ = false;
    } else if (!definition->GetValues().contains(text)) {
      Fail(MakeMessage("krova.data.value.unknown", text));
    }
  }
  void Visit(const std::shared_ptr<const UnionCaseDefinition>& definition) override {
    const OptionalValue* optional = CastTo<OptionalValue>(*definition);
    if (optional == nullptr || !optional->HasValue()) return;
    fits_ = CheckUnionState(*definition, optional->GetValue(), errors_);
  }

 private:
  struct Entry {
    const DataDefinition* definition;
    const DataValue* value;
  };

  void Push(const DataDefinition* definition, const DataValue* value) {
    entries_.push_back({definition, value});
  }

  void Fail(BaseMessage message) {
    errors_.push_back(std::move(message));
    fits_ = false;
  }

  // The current value as the kind that the definition wants, or null after a fault.
  template <typename Kind>
  const Kind* CastTo(const DataDefinition& definition) {
    const Kind* value = ValueCast<Kind>(value_);
    if (value == nullptr) {
      Fail(MakeMessage("krova.data.type.mismatch", definition.ToString(), value_->ToString()));
    }
    return value;
  }

  void CheckDynamic(const DataDefinition& definition, const FieldDefinitions& required) {
    if (const StructValue* structure = ValueCast<StructValue>(value_)) {
      CheckFields(definition, required, *structure);
    } else if (const ErrorValue* error = ValueCast<ErrorValue>(value_)) {
      CheckFields(definition, required, *error);
    } else {
      Fail(MakeMessage("krova.data.type.mismatch", TypeWord(definition.GetType()),
                       TypeWord(TypeOf(value_))));
    }
  }

  void CheckCompound(const DataDefinition& definition, const FieldDefinitions& defined,
                     const NamedFields& fields) {
    CheckFields(definition, defined, fields);
    if constexpr (std::is_same_v<Match, StrictMatch>) {
      if (fits_) CheckExtraFields(definition, defined, fields);
    }
  }

  // From last to first, so that the first field comes off the stack first.
  void CheckFields(const DataDefinition& definition, const FieldDefinitions& defined,
                   const NamedFields& fields) {
    const DefinitionMap& map = defined.GetFields();
    for (auto field = map.rbegin(); field != map.rend(); ++field) {
      const ValuePointer* value = fields.FindField(field->first);
      if (value != nullptr) {
        Push(field->second.get(), value->get());
      } else if (!IsOptional(field->second.get())) {
        FailField("krova.data.compound.field.missing", field->first, definition);
        return;
      }
    }
  }

  static bool IsOptional(const DataDefinition* definition) {
    return dynamic_cast<const OptionalDefinition*>(definition) != nullptr;
  }

  void CheckExtraFields(const DataDefinition& definition, const FieldDefinitions& defined,
                        const NamedFields& fields) {
    // A compound that lacks as many optional fields as it has unknown ones passes: only the numbers
    // are looked at here.
    if (fields.size() <= defined.GetFields().size()) return;
    for (const auto& [name, value] : fields) {
      if (defined.GetFields().contains(name)) continue;
      const OptionalValue* optional = ValueCast<OptionalValue>(value.get());
      if (optional == nullptr || optional->HasValue()) {
        FailField("krova.data.compound.field.extra", name, definition);
        return;
      }
    }
  }

  void FailField(const char* id, const std::string& name, const DataDefinition& definition) {
    Fail(MakeMessage(id, name, definition.ToString(), value_->ToString()));
  }

  MessageList& errors_;
  bool fits_ = true;
  const DataValue* value_ = nullptr;
  std::vector<Entry> entries_;
};

}  // namespace

template <typename Match>
bool DataValidatorHelper::Validate(const DefinitionPointer& definition, const ValuePointer& value,
                                   MessageList& errors) {
  return DefinitionToEntriesVisitor<Match>(errors).Run(definition.get(), value.get());
}

template bool DataValidatorHelper::Validate<LooseMatch>(const DefinitionPointer&,
                                                        const ValuePointer&, MessageList&);
template bool DataValidatorHelper::Validate<StrictMatch>(const DefinitionPointer&,
                                                         const ValuePointer&, MessageList&);
template bool DataValidatorHelper::Validate<DynamicMatch>(const DefinitionPointer&,
                                                          const ValuePointer&, MessageList&);

}  // namespace Krova::Data
