// Tell whether two trees are equal. Neither recurses; the first difference ends the walk.
#pragma once

#include "krova/data/definition.h"
#include "krova/data/value.h"

namespace Krova::Data {

struct ValueComparatorHelper {
  /// Doubles are equal if their bits are: a tree is always equal to itself, also one that holds a
  /// NaN, and two equal trees have the same text, which those with 0.0 and -0.0 haven't. Two unset
  /// values are equal. Secrets are compared in clear and never told.
  /// \param errors  Gets one message of the first difference.
  static bool Compare(const ValuePointer& first, const ValuePointer& second, MessageList& errors);
};

struct DefinitionComparatorHelper {
  /// References to structures are equal if they name the same one; the walk ends there.
  /// \param errors  Gets one message of the first difference.
  static bool Compare(const DefinitionPointer& first, const DefinitionPointer& second,
                      MessageList& errors);
};

}  // namespace Krova::Data
