// Makes definitions and values out of any bytes, for property tests and fuzzing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "krova/make_values.h"

namespace Krova::Testing {

/// Reads decisions from bytes; after the last one all are 0, which ends every tree soon. Names and
/// texts come from small alphabets, so that two trees often meet in them.
class TreeFromBytes {
 public:
  TreeFromBytes(const std::uint8_t* bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

  Data::DefinitionPointer MakeDefinition(int depth = kMaxDepth) {
    switch (Choose(depth > 0 ? 18 : 9)) {
      case 0:
        return DefineString();
      case 1:
        return DefineInteger();
      case 2:
        return Define<Data::DoubleDefinition>();
      case 3:
        return Define<Data::BooleanDefinition>();
      case 4:
        return Define<Data::BlobDefinition>();
      case 5:
        return Define<Data::VoidDefinition>();
      case 6:
        return Define<Data::SecretDefinition>();
      case 7:
        return Define<Data::OpaqueDefinition>();
      case 8:
        return Define<Data::IsOneOfDefinition>(MakeTexts());
      case 9:
      case 10:
        return DefineOptional(MakeDefinition(depth - 1));
      case 11:
        return DefineList(MakeDefinition(depth - 1));
      case 12:
        return Define<Data::ErrorDefinition>(Name(), MakeDefinitions(depth));
      case 13:
        return Define<Data::DynamicStructureDefinition>(MakeDefinitions(depth));
      case 14:
        return Define<Data::DynamicErrorDefinition>(MakeDefinitions(depth));
      case 15:
        return MakeUnion();
      case 16:
        return MakeReference();
      default:
        return MakeStruct(depth);
    }
  }

  Data::ValuePointer MakeValue(int depth = kMaxDepth) {
    switch (Choose(depth > 0 ? 13 : 8)) {
      case 0:
        return String(Name());
      case 1:
        return Integer(Choose(3));
      case 2:
        return Double(Choose(3) - 1.5);
      case 3:
        return Boolean(Choose(2) == 1);
      case 4:
        return Blob(std::vector<std::uint8_t>(Choose(3)));
      case 5:
        return Null();
      case 6:
        return Secret(Name());
      case 7:
        return Choose(8) == 0 ? nullptr : Unset();
      case 8:
        return Set(MakeValue(depth - 1));
      case 9:
        return List(MakeElements(depth));
      case 10:
        return Error(Name(), MakeFields(depth));
      default:
        return Struct(Name(), MakeFields(depth));
    }
  }

  /// Mostly a value that fits \p definition, and sometimes one with something wrong in it.
  Data::ValuePointer MakeValueFor(const Data::DefinitionPointer& definition,
                                  int depth = kMaxDepth) {
    using namespace Data;
    if (definition == nullptr || depth == 0 || Choose(12) == 11) return MakeValue(1);
    if (const auto* fields = dynamic_cast<const FieldDefinitions*>(definition.get())) {
      const bool isError = definition->GetType() == DataType::kError;
      FieldList list = MakeFieldsFor(fields->GetFields(), depth);
      return isError ? Error(Name(), std::move(list)) : Struct(Name(), std::move(list));
    }
    if (const auto* optional = dynamic_cast<const OptionalDefinition*>(definition.get())) {
      return Choose(3) == 0 ? Unset() : Set(MakeValueFor(optional->GetElement(), depth - 1));
    }
    if (const auto* list = dynamic_cast<const ListDefinition*>(definition.get())) {
      ValueList elements(Choose(4));
      for (auto& element : elements) element = MakeValueFor(list->GetElement(), depth - 1);
      return List(std::move(elements));
    }
    if (const auto* reference = dynamic_cast<const StructRefDefinition*>(definition.get())) {
      return MakeValueFor(reference->GetTarget(), depth - 1);
    }
    if (dynamic_cast<const UnionCaseDefinition*>(definition.get()) != nullptr) {
      return Set(Struct(Name(), MakeFields(1)));
    }
    return MakeScalarOf(definition->GetType());
  }

 private:
  static constexpr int kMaxDepth = 5;

  std::uint8_t Next() { return next_ == end_ ? std::uint8_t{0} : *next_++; }
  int Choose(int count) { return Next() % count; }
  std::string Name() { return std::string(1, static_cast<char>('a' + Choose(4))); }

  std::set<std::string, std::less<>> MakeTexts() {
    std::set<std::string, std::less<>> texts;
    for (int count = Choose(4); count > 0; --count) texts.insert(Name());
    return texts;
  }

  Data::DefinitionMap MakeDefinitions(int depth) {
    Data::DefinitionMap fields;
    for (int count = Choose(4); count > 0; --count) fields[Name()] = MakeDefinition(depth - 1);
    return fields;
  }

  Data::DefinitionPointer MakeUnion() {
    Data::UnionCaseDefinition::Cases cases;
    for (int count = Choose(4); count > 0; --count) cases[Name()] = MakeTexts();
    return Define<Data::UnionCaseDefinition>(Name(), std::move(cases));
  }

  // References may lead to any structure whose making has begun; those which then aren't used in
  // its tree end up without a target.
  Data::DefinitionPointer MakeStruct(int depth) {
    const auto holder = std::make_shared<Data::StructHolder>();
    holders_.push_back(holder);
    const auto definition =
        std::make_shared<const Data::StructDefinition>(Name(), MakeDefinitions(depth));
    holder->Set(definition);
    return definition;
  }

  Data::DefinitionPointer MakeReference() {
    if (holders_.empty()) return Define<Data::OpaqueDefinition>();
    const auto which = static_cast<std::size_t>(Next()) % holders_.size();
    return Define<Data::StructRefDefinition>(Name(), holders_[which]);
  }

  Data::ValueList MakeElements(int depth) {
    Data::ValueList elements(static_cast<std::size_t>(Choose(4)));
    for (auto& element : elements) element = MakeValue(depth - 1);
    return elements;
  }

  Data::FieldList MakeFields(int depth) {
    Data::FieldList fields;
    for (int count = Choose(4); count > 0; --count) {
      std::string name = Name();
      fields.emplace_back(std::move(name), MakeValue(depth - 1));
    }
    return fields;
  }

  Data::FieldList MakeFieldsFor(const Data::DefinitionMap& definitions, int depth) {
    Data::FieldList fields;
    for (const auto& [name, definition] : definitions) {
      if (Choose(8) != 7) fields.emplace_back(name, MakeValueFor(definition, depth - 1));
    }
    if (Choose(4) == 3) {
      fields.emplace_back(Name(), Choose(2) == 0 ? Unset() : MakeValue(1));
    }
    return fields;
  }

  Data::ValuePointer MakeScalarOf(Data::DataType type) {
    switch (type) {
      case Data::DataType::kInteger:
        return Integer(Choose(3));
      case Data::DataType::kDouble:
        return Double(Choose(3));
      case Data::DataType::kBoolean:
        return Boolean(Choose(2) == 1);
      case Data::DataType::kBlob:
        return Blob({1});
      case Data::DataType::kString:
        return String(Name());
      case Data::DataType::kSecret:
        return Secret(Name());
      default:
        return Null();
    }
  }

  const std::uint8_t* next_;
  const std::uint8_t* end_;
  std::vector<std::shared_ptr<Data::StructHolder>> holders_;
};

}  // namespace Krova::Testing
