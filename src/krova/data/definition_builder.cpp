#include "krova/data/definition_builder.h"

#include <cstddef>
#include <iterator>

namespace Krova::Data {
namespace {

DefinitionPointer MakeScalar(DataType kind) {
  switch (kind) {
    case DataType::kVoid:
      return std::make_shared<VoidDefinition>();
    case DataType::kOpaque:
      return std::make_shared<OpaqueDefinition>();
    case DataType::kInteger:
      return std::make_shared<IntegerDefinition>();
    case DataType::kDouble:
      return std::make_shared<DoubleDefinition>();
    case DataType::kBoolean:
      return std::make_shared<BooleanDefinition>();
    case DataType::kBlob:
      return std::make_shared<BlobDefinition>();
    case DataType::kString:
      return std::make_shared<StringDefinition>();
    case DataType::kSecret:
      return std::make_shared<SecretDefinition>();
    default:
      return nullptr;
  }
}

class DefinitionBuilder {
 public:
  DefinitionPointer Build(const NativeType& root) {
    steps_.push_back({&root, false});
    while (!steps_.empty()) {
      const Step step = steps_.back();
      steps_.pop_back();
      if (step.childrenBuilt) {
        Finish(*step.type);
      } else {
        Begin(*step.type);
      }
    }
    return std::move(built_.back());
  }

 private:
  struct Step {
    const NativeType* type;
    bool childrenBuilt;
  };

  void Begin(const NativeType& type) {
    switch (type.kind) {
      case DataType::kOptional:
      case DataType::kList:
        steps_.push_back({&type, true});
        steps_.push_back({type.element, false});
        break;
      case DataType::kStruct:
        BeginStruct(type);
        break;
      default:
        built_.push_back(MakeScalar(type.kind));
    }
  }

  void BeginStruct(const NativeType& type) {
    const auto [known, isNew] = holders_.try_emplace(type.name);
    if (!isNew) {
      built_.push_back(std::make_shared<StructRefDefinition>(type.name, known->second));
      return;
    }
    known->second = std::make_shared<StructHolder>();
    steps_.push_back({&type, true});
    for (auto field = type.fields.rbegin(); field != type.fields.rend(); ++field) {
      steps_.push_back({field->second, false});
    }
  }

  void Finish(const NativeType& type) {
    if (type.kind == DataType::kOptional) {
      built_.back() = std::make_shared<OptionalDefinition>(std::move(built_.back()));
    } else if (type.kind == DataType::kList) {
      built_.back() = std::make_shared<ListDefinition>(std::move(built_.back()));
    } else {
      FinishStruct(type);
    }
  }

  void FinishStruct(const NativeType& type) {
    const auto first = std::prev(built_.end(), static_cast<std::ptrdiff_t>(type.fields.size()));
    DefinitionMap fields;
    auto definition = first;
    for (const auto& [name, field] : type.fields) fields[name] = std::move(*definition++);
    built_.erase(first, built_.end());
    const auto structure = std::make_shared<const StructDefinition>(type.name, std::move(fields));
    holders_[type.name]->Set(structure);
    built_.push_back(structure);
  }

  std::vector<Step> steps_;
  std::vector<DefinitionPointer> built_;
  std::map<std::string, std::shared_ptr<StructHolder>> holders_;
};

}  // namespace

DefinitionPointer BuildDefinition(const NativeType& type) {
  return DefinitionBuilder().Build(type);
}

}  // namespace Krova::Data
