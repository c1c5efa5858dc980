// Makes the definitions of native types.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "krova/data/definition.h"

namespace Krova::Data {

/// Describes a native type. Types refer to each other by address, so that a structure may contain
/// itself in a list or an optional; they must stay where they are while a definition is built.
struct NativeType {
  /// A scalar kind, `kOpaque`, `kOptional`, `kList` or `kStruct`.
  DataType kind;
  /// What an optional or a list holds.
  const NativeType* element = nullptr;
  /// A structure's name. Two structures of one name are one type.
  std::string name = {};
  /// A structure's fields.
  std::vector<std::pair<std::string, const NativeType*>> fields = {};
};

/// Builds the definition of \p type without recursion. The first encounter of a structure builds
/// its definition; every later one, inside it or beside it, is a reference to that.
/// \return Null for a kind that isn't a native type's.
DefinitionPointer BuildDefinition(const NativeType& type);

}  // namespace Krova::Data
