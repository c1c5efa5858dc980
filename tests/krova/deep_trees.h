// Trees that are nothing but depth, one maker for each kind of compound.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "krova/data/value.h"

namespace Krova::Testing {

/// Puts a value into one more compound.
using Wrapper = Data::ValuePointer (*)(Data::ValuePointer);

inline Data::ValuePointer InList(Data::ValuePointer child) {
  auto list = std::make_shared<Data::ListValue>();
  list->push_back(std::move(child));
  return list;
}

inline Data::ValuePointer InOptional(Data::ValuePointer child) {
  return std::make_shared<Data::OptionalValue>(std::move(child));
}

/// The field has the name that the printer of an error looks for.
inline Data::ValuePointer InStruct(Data::ValuePointer child) {
  auto structure = std::make_shared<Data::StructValue>("s");
  structure->SetField("id", std::move(child));
  return structure;
}

/// An error whose list of messages holds the child, so that printing goes down into it.
inline Data::ValuePointer InError(Data::ValuePointer child) {
  auto messages = std::make_shared<Data::ListValue>();
  messages->push_back(std::move(child));
  return std::make_shared<Data::ErrorValue>("e", std::move(messages));
}

/// A different compound on each level.
inline Data::ValuePointer InTurn(Data::ValuePointer child) {
  return InError(InStruct(InOptional(InList(std::move(child)))));
}

/// \return \p leaf in \p depth layers of \p wrap.
inline Data::ValuePointer Nest(Wrapper wrap, int depth, Data::ValuePointer leaf) {
  for (int level = 0; level < depth; ++level) leaf = wrap(std::move(leaf));
  return leaf;
}

/// The kinds of nests, for table-driven tests.
struct DeepTree {
  const char* name;
  Wrapper wrap;
  int levels;  ///< How many compounds a call of the wrapper adds.
};
inline constexpr DeepTree kDeepTrees[] = {{"Lists", InList, 1},
                                          {"Optionals", InOptional, 1},
                                          {"Structs", InStruct, 1},
                                          {"Errors", InError, 2},
                                          {"AllInTurn", InTurn, 5}};

/// \return \p leaf below at least \p depth compounds.
inline Data::ValuePointer Nest(const DeepTree& tree, int depth, Data::ValuePointer leaf) {
  return Nest(tree.wrap, (depth + tree.levels - 1) / tree.levels, std::move(leaf));
}

}  // namespace Krova::Testing
