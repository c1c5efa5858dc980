#include "krova/data/data_type.h"

#include <gtest/gtest.h>

namespace Krova::Data {
namespace {

struct WordRow {
  int ordinal;
  DataType type;
  const char* wire;
  const char* message;
};
constexpr WordRow kWords[] = {
    {0, DataType::kVoid, "VOID", "VOID"},
    {1, DataType::kInteger, "INTEGER", "LONG"},
    {2, DataType::kDouble, "DOUBLE", "DOUBLE"},
    {3, DataType::kBoolean, "BOOLEAN", "BOOLEAN"},
    {4, DataType::kBlob, "BINARY", "BINARY"},
    {5, DataType::kString, "STRING", "STRING"},
    {6, DataType::kError, "ERROR", "ERROR"},
    {7, DataType::kOptional, "OPTIONAL", "OPTIONAL"},
    {8, DataType::kList, "LIST", "LIST"},
    {9, DataType::kStruct, "STRUCTURE", "STRUCTURE"},
    {10, DataType::kOpaque, "OPAQUE", "OPAQUE"},
    {11, DataType::kSecret, "SECRET", "SECRET"},
    {12, DataType::kStructRef, "STRUCT_REF", "STRUCTURE_REF"},
    {13, DataType::kDynamicStruct, "DYNAMIC_STRUCTURE", "DYNAMIC_STRUCTURE"},
    {14, DataType::kDynamicError, "DYNAMIC_ERROR", "ANY_ERROR"},
    {15, DataType::kUnknown, "_UNKNOWN", "_UNKNOWN"},
};

class DataTypeWords : public ::testing::TestWithParam<WordRow> {};

TEST_P(DataTypeWords, OrdinalHasItsWords) {
  EXPECT_EQ(static_cast<int>(GetParam().type), GetParam().ordinal);
  EXPECT_STREQ(WireWord(GetParam().type), GetParam().wire);
  EXPECT_STREQ(TypeWord(GetParam().type), GetParam().message);
}

TEST_P(DataTypeWords, WordsLeadBack) {
  EXPECT_EQ(DataTypeOfWireWord(GetParam().wire), GetParam().type);
  EXPECT_EQ(DataTypeOfTypeWord(GetParam().message), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(Table, DataTypeWords, ::testing::ValuesIn(kWords),
                         [](const auto& row) { return std::string(row.param.wire); });

TEST(DataTypeWords, OrdinalsBeyondTheTableAreUnknown) {
  for (const int ordinal : {16, 17, 1000, -1}) {
    EXPECT_STREQ(WireWord(static_cast<DataType>(ordinal)), "_UNKNOWN") << ordinal;
    EXPECT_STREQ(TypeWord(static_cast<DataType>(ordinal)), "_UNKNOWN") << ordinal;
  }
}

TEST(DataTypeWords, OtherWordsAreUnknown) {
  for (const char* word : {"", "string", "STRIN", "STRING ", "NULL", "LONGER"}) {
    EXPECT_EQ(DataTypeOfWireWord(word), DataType::kUnknown) << word;
    EXPECT_EQ(DataTypeOfTypeWord(word), DataType::kUnknown) << word;
  }
}

TEST(DataTypeWords, TablesAreApart) {
  EXPECT_EQ(DataTypeOfWireWord("LONG"), DataType::kUnknown);
  EXPECT_EQ(DataTypeOfTypeWord("INTEGER"), DataType::kUnknown);
  EXPECT_EQ(DataTypeOfTypeWord("DYNAMIC_ERROR"), DataType::kUnknown);
}

}  // namespace
}  // namespace Krova::Data
