#include "krova/provider/raw_definition_adapter.h"

#include <utility>

namespace Krova::Provider {

// Writes what belongs to a definition alone and pushes its children, from last to first, so that
// they come off the stack in order, and before the closing that lies below them.
class RawDefinitionAdapter::DefinitionToEntriesVisitor final : public Data::DefinitionVisitor {
 public:
  explicit DefinitionToEntriesVisitor(RawDefinitionAdapter& adapter) : adapter_(adapter) {}

  void Visit(const std::shared_ptr<const Data::VoidDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::OpaqueDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::DynamicStructureDefinition>& definition) override {
    OpenCompound(Data::kDynamicStructureName, *definition);
  }
  void Visit(const std::shared_ptr<const Data::DynamicErrorDefinition>& definition) override {
    OpenCompound(Data::kDynamicErrorName, *definition);
  }
  void Visit(const std::shared_ptr<const Data::IntegerDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::DoubleDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::BooleanDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::BlobDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::StringDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::SecretDefinition>&) override {}
  void Visit(const std::shared_ptr<const Data::ErrorDefinition>& definition) override {
    OpenCompound(definition->GetName().value_or(Data::kNoName), *definition);
  }
  void Visit(const std::shared_ptr<const Data::OptionalDefinition>& definition) override {
    OpenElement(definition->GetElement());
  }
  void Visit(const std::shared_ptr<const Data::ListDefinition>& definition) override {
    OpenElement(definition->GetElement());
  }
  void Visit(const std::shared_ptr<const Data::StructDefinition>& definition) override {
    OpenCompound(definition->GetName().value_or(Data::kNoName), *definition);
  }
  void Visit(const std::shared_ptr<const Data::StructRefDefinition>& definition) override {
    // The structure itself is written where it is defined.
    adapter_.WriteText(definition->GetName());
  }
  void Visit(const std::shared_ptr<const Data::IsOneOfDefinition>& definition) override {
    WriteTexts(definition->GetValues());
  }
  void Visit(const std::shared_ptr<const Data::UnionCaseDefinition>& definition) override {
    adapter_.WriteText(definition->GetTag());
    for (const auto& [tag, fields] : definition->GetCases()) {
      adapter_.WriteText(tag);
      WriteTexts(fields);
    }
  }

 private:
  void OpenElement(const Data::DefinitionPointer& element) { adapter_.Push(std::nullopt, element); }

  void OpenCompound(const std::string& name, const Data::FieldDefinitions& compound) {
    adapter_.WriteText(name);
    const Data::DefinitionMap& fields = compound.GetFields();
    for (auto field = fields.rbegin(); field != fields.rend(); ++field) {
      adapter_.Push(field->first, field->second);
    }
  }

  template <typename Texts>
  void WriteTexts(const Texts& texts) {
    adapter_.stream_ << '{';
    for (const std::string& text : texts) adapter_.WriteText(text);
    adapter_.stream_ << '}';
  }

  RawDefinitionAdapter& adapter_;
};

void RawDefinitionAdapter::Write(const SrcType& source) {
  Push(source.name, source.definition);
  while (!entries_.empty()) {
    const BasicAdaptEntry entry = std::move(entries_.back());
    entries_.pop_back();
    (this->*entry.write)(entry);
  }
}

void RawDefinitionAdapter::Push(std::optional<std::string> key, Data::DefinitionPointer source) {
  entries_.push_back({std::move(key), std::move(source), &RawDefinitionAdapter::WriteEntry});
}

void RawDefinitionAdapter::PushClosing() {
  entries_.push_back({std::nullopt, nullptr, &RawDefinitionAdapter::WriteClosing});
}

void RawDefinitionAdapter::WriteEntry(const BasicAdaptEntry& entry) {
  if (entry.key.has_value()) WriteText(*entry.key);
  if (entry.source == nullptr) {
    stream_ << "-;";
    return;
  }
  stream_ << static_cast<int>(entry.source->GetType()) << '(';
  PushClosing();
  DefinitionToEntriesVisitor visitor(*this);
  entry.source->Accept(visitor);
}

void RawDefinitionAdapter::WriteClosing(const BasicAdaptEntry&) { stream_ << ')'; }

void RawDefinitionAdapter::WriteText(const std::string& text) {
  stream_ << text.size() << ':' << text;
}

}  // namespace Krova::Provider
