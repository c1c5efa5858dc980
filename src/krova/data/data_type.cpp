#include "krova/data/data_type.h"

#include <cstddef>

namespace Krova::Data {
namespace {

constexpr std::size_t kUnknownIndex = static_cast<std::size_t>(DataType::kUnknown);

// Both tables end in a null entry.
constexpr const char* kWireWords[] = {
    "VOID",       "INTEGER",           "DOUBLE",        "BOOLEAN",   "BINARY", "STRING",
    "ERROR",      "OPTIONAL",          "LIST",          "STRUCTURE", "OPAQUE", "SECRET",
    "STRUCT_REF", "DYNAMIC_STRUCTURE", "DYNAMIC_ERROR", "_UNKNOWN",  nullptr,
};
constexpr const char* kTypeWords[] = {
    "VOID",      "LONG",     "DOUBLE",    "BOOLEAN", "BINARY", "STRING",        "ERROR",
    "OPTIONAL",  "LIST",     "STRUCTURE", "OPAQUE",  "SECRET", "STRUCTURE_REF", "DYNAMIC_STRUCTURE",
    "ANY_ERROR", "_UNKNOWN", nullptr,
};

const char* WordOf(const char* const* table, DataType type) {
  const std::size_t index = static_cast<std::size_t>(type);
  return table[index < kUnknownIndex ? index : kUnknownIndex];
}

DataType TypeOfWord(const char* const* table, std::string_view word) {
  for (std::size_t index = 0; table[index] != nullptr; ++index) {
    if (word == table[index]) return static_cast<DataType>(index);
  }
  return DataType::kUnknown;
}

}  // namespace

const char* WireWord(DataType type) { return WordOf(kWireWords, type); }

const char* TypeWord(DataType type) { return WordOf(kTypeWords, type); }

DataType DataTypeOfWireWord(std::string_view word) { return TypeOfWord(kWireWords, word); }

DataType DataTypeOfTypeWord(std::string_view word) { return TypeOfWord(kTypeWords, word); }

}  // namespace Krova::Data
