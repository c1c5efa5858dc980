// The kinds of data values and definitions, and their words.
#pragma once

#include <string_view>

namespace Krova::Data {

/// The ordinals index the word tables and don't change. `kOpaque`, `kStructRef`,
/// `kDynamicStruct` and `kDynamicError` are kinds of definitions only.
enum class DataType {
  kVoid = 0,
  kInteger = 1,
  kDouble = 2,
  kBoolean = 3,
  kBlob = 4,
  kString = 5,
  kError = 6,
  kOptional = 7,
  kList = 8,
  kStruct = 9,
  kOpaque = 10,
  kSecret = 11,
  kStructRef = 12,
  kDynamicStruct = 13,
  kDynamicError = 14,
  kUnknown = 15,
};

/// The word of a kind on the wire. An ordinal beyond the table gives "_UNKNOWN".
const char* WireWord(DataType type);

/// The word of a kind in the type names of messages. It differs from the wire's for integers,
/// structure references and dynamic errors.
const char* TypeWord(DataType type);

/// The kind that a wire word names, `kUnknown` for any other text. Exact comparison.
DataType DataTypeOfWireWord(std::string_view word);

/// The same for the words of type names.
DataType DataTypeOfTypeWord(std::string_view word);

}  // namespace Krova::Data
