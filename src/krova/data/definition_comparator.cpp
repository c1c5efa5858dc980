#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "krova/data/comparators.h"

namespace Krova::Data {
namespace {

std::string PrintedType(const DataDefinition* definition) {
  return definition == nullptr ? TypeWord(DataType::kUnknown) : definition->ToString();
}

class DefinitionToEntriesVisitor final : public DefinitionVisitor {
 public:
  explicit DefinitionToEntriesVisitor(MessageList& errors) : errors_(errors) {}

  bool Run(const DataDefinition* first, const DataDefinition* second) {
    entries_.push_back({first, second});
    while (equal_ && !entries_.empty()) {
      const Entry entry = entries_.back();
      entries_.pop_back();
      second_ = entry.second;
      if (!AreOneKind(entry.first, second_)) {
        Fail(MakeMessage("krova.data.type.mismatch", PrintedType(entry.first),
                         PrintedType(second_)));
      } else if (entry.first != nullptr) {
        entry.first->Accept(*this);
      }
    }
    return equal_;
  }

  void Visit(const std::shared_ptr<const VoidDefinition>&) override {}
  void Visit(const std::shared_ptr<const OpaqueDefinition>&) override {}
  void Visit(const std::shared_ptr<const DynamicStructureDefinition>& first) override {
    CompareFields(*first, Second<DynamicStructureDefinition>(), *first);
  }
  void Visit(const std::shared_ptr<const DynamicErrorDefinition>& first) override {
    CompareFields(*first, Second<DynamicErrorDefinition>(), *first);
  }
  void Visit(const std::shared_ptr<const IntegerDefinition>&) override {}
  void Visit(const std::shared_ptr<const DoubleDefinition>&) override {}
  void Visit(const std::shared_ptr<const BooleanDefinition>&) override {}
  void Visit(const std::shared_ptr<const BlobDefinition>&) override {}
  void Visit(const std::shared_ptr<const StringDefinition>&) override {}
  void Visit(const std::shared_ptr<const SecretDefinition>&) override {}
  void Visit(const std::shared_ptr<const ErrorDefinition>& first) override {
    CompareNamed(*first, Second<ErrorDefinition>(), *first);
  }
  void Visit(const std::shared_ptr<const OptionalDefinition>& first) override {
    Push(first->GetElement(), Second<OptionalDefinition>().GetElement());
  }
  void Visit(const std::shared_ptr<const ListDefinition>& first) override {
    Push(first->GetElement(), Second<ListDefinition>().GetElement());
  }
  void Visit(const std::shared_ptr<const StructDefinition>& first) override {
    CompareNamed(*first, Second<StructDefinition>(), *first);
  }
  void Visit(const std::shared_ptr<const StructRefDefinition>& first) override {
    CompareNames(first->GetName(), Second<StructRefDefinition>().GetName());
  }
  void Visit(const std::shared_ptr<const IsOneOfDefinition>& first) override {
    if (first->GetValues() != Second<IsOneOfDefinition>().GetValues()) FailValues(*first);
  }
  void Visit(const std::shared_ptr<const UnionCaseDefinition>& first) override {
    const UnionCaseDefinition& second = Second<UnionCaseDefinition>();
    CompareNames(first->GetTag(), second.GetTag());
    if (equal_ && first->GetCases() != second.GetCases()) FailValues(*first);
  }

 private:
  struct Entry {
    const DataDefinition* first;
    const DataDefinition* second;
  };

  static bool AreOneKind(const DataDefinition* first, const DataDefinition* second) {
    if (first == nullptr || second == nullptr) return first == second;
    return typeid(*first) == typeid(*second);
  }

  template <typename Kind>
  const Kind& Second() const {
    return static_cast<const Kind&>(*second_);
  }

  void Push(const DefinitionPointer& first, const DefinitionPointer& second) {
    entries_.push_back({first.get(), second.get()});
  }

  void CompareNamed(const NamedDefinition& first, const NamedDefinition& second,
                    const DataDefinition& whole) {
    CompareNames(first.GetName().value_or(kNoName), second.GetName().value_or(kNoName));
    if (equal_) CompareFields(first, second, whole);
  }

  void CompareNames(const std::string& first, const std::string& second) {
    if (first == second) return;
    Fail(MakeMessage("krova.data.value.comp.struct.names.not.eq", first, second));
  }

  void CompareFields(const FieldDefinitions& first, const FieldDefinitions& second,
                     const DataDefinition& whole) {
    const DefinitionMap& fields = first.GetFields();
    const DefinitionMap& others = second.GetFields();
    // From last to first, so that the first field comes off the stack first.
    for (auto field = fields.rbegin(); field != fields.rend(); ++field) {
      const auto other = others.find(field->first);
      if (other == others.end()) {
        FailField(field->first, whole);
        return;
      }
      Push(field->second, other->second);
    }
    for (const auto& [name, definition] : others) {
      if (!fields.contains(name)) {
        FailField(name, whole);
        return;
      }
    }
  }

  void FailField(const std::string& name, const DataDefinition& first) {
    Fail(MakeMessage("krova.data.value.comp.struct.missing.field", name, first.ToString(),
                     second_->ToString()));
  }

  void FailValues(const DataDefinition& first) {
    Fail(MakeMessage("krova.data.comparator.values.not.equal", TypeWord(first.GetType()),
                     first.ToString(), second_->ToString()));
  }

  void Fail(BaseMessage message) {
    errors_.push_back(std::move(message));
    equal_ = false;
  }

  MessageList& errors_;
  bool equal_ = true;
  const DataDefinition* second_ = nullptr;
  std::vector<Entry> entries_;
};

}  // namespace

bool DefinitionComparatorHelper::Compare(const DefinitionPointer& first,
                                         const DefinitionPointer& second, MessageList& errors) {
  return DefinitionToEntriesVisitor(errors).Run(first.get(), second.get());
}

}  // namespace Krova::Data
