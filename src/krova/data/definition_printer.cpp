#include <cstddef>
#include <string>
#include <vector>

#include <boost/format.hpp>

#include "krova/data/definition.h"

namespace Krova::Data {
namespace {

// Prints bottom-up: a definition that holds others comes off the stack twice, first to put them on
// it, and again when the printed forms of all of them lie on top of the results.
class DefinitionPrinter final : public DefinitionVisitor {
 public:
  std::string Print(const DataDefinition& root) {
    Push(&root);
    while (!steps_.empty()) {
      step_ = steps_.back();
      steps_.pop_back();
      if (step_.definition == nullptr) {
        results_.emplace_back();
      } else {
        step_.definition->Accept(*this);
      }
    }
    return std::move(results_.back());
  }

  void Visit(const std::shared_ptr<const VoidDefinition>&) override { Result("VOID"); }
  // Clients know it under this word.
  void Visit(const std::shared_ptr<const OpaqueDefinition>&) override { Result("VOID"); }
  void Visit(const std::shared_ptr<const DynamicStructureDefinition>&) override {
    Result("DynamicStructureDefinition");
  }
  void Visit(const std::shared_ptr<const DynamicErrorDefinition>&) override {
    Result("DynamicErrorDefinition");
  }
  void Visit(const std::shared_ptr<const IntegerDefinition>&) override { Result("INTEGER"); }
  void Visit(const std::shared_ptr<const DoubleDefinition>&) override { Result("DOUBLE"); }
  void Visit(const std::shared_ptr<const BooleanDefinition>&) override { Result("BOOLEAN"); }
  void Visit(const std::shared_ptr<const BlobDefinition>&) override { Result("BLOB"); }
  void Visit(const std::shared_ptr<const StringDefinition>&) override { Result("STRING"); }
  void Visit(const std::shared_ptr<const SecretDefinition>&) override { Result("SECRET"); }
  void Visit(const std::shared_ptr<const ErrorDefinition>& definition) override {
    PrintCompound("{ed{ ", *definition);
  }
  void Visit(const std::shared_ptr<const OptionalDefinition>& definition) override {
    PrintElement("%1%<%2%>", "OPTIONAL", definition->GetElement());
  }
  void Visit(const std::shared_ptr<const ListDefinition>& definition) override {
    PrintElement("%1%[%2%]", "LIST", definition->GetElement());
  }
  void Visit(const std::shared_ptr<const StructDefinition>& definition) override {
    PrintCompound("{sd{ ", *definition);
  }
  void Visit(const std::shared_ptr<const StructRefDefinition>&) override {
    Result("StructRefDefinition");
  }
  void Visit(const std::shared_ptr<const IsOneOfDefinition>&) override { Result("STRING"); }
  void Visit(const std::shared_ptr<const UnionCaseDefinition>&) override {
    Result("UnionCaseDefinition");
  }

 private:
  struct Step {
    const DataDefinition* definition = nullptr;
    bool childrenPrinted = false;
  };

  void Push(const DataDefinition* definition) { steps_.push_back({definition, false}); }
  void PushAgain() { steps_.push_back({step_.definition, true}); }
  void Result(std::string text) { results_.push_back(std::move(text)); }

  void PrintElement(const char* form, const char* word, const DefinitionPointer& element) {
    if (!step_.childrenPrinted) {
      PushAgain();
      Push(element.get());
      return;
    }
    results_.back() = (boost::format(form) % word % results_.back()).str();
  }

  void PrintCompound(const char* opening, const NamedDefinition& definition) {
    const DefinitionMap& fields = definition.GetFields();
    if (!step_.childrenPrinted) {
      PushAgain();
      for (auto field = fields.rbegin(); field != fields.rend(); ++field) {
        Push(field->second.get());
      }
      return;
    }
    std::string text = opening + definition.GetName().value_or(kNoName) + " : { ";
    std::size_t result = results_.size() - fields.size();
    for (const auto& [name, field] : fields) text += name + " : " + results_[result++] + ", ";
    results_.resize(results_.size() - fields.size());
    Result(text + "} }} ");
  }

  Step step_;
  std::vector<Step> steps_;
  std::vector<std::string> results_;
};

}  // namespace

std::string PrintDefinition(const DataDefinition& definition) {
  return DefinitionPrinter().Print(definition);
}

}  // namespace Krova::Data
