#include "machine/resource_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

namespace Lab {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ResourceScriptFile : public testing::Test {
 protected:
  ResourceScriptFile() {
    std::string folder = testing::TempDir() + "scripts \xC3\xA9-XXXXXX";
    folder_ = mkdtemp(folder.data());
  }
  ~ResourceScriptFile() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path Write(const std::string& name, const std::string& text) {
    std::ofstream(folder_ / name) << text;
    return folder_ / name;
  }
  std::vector<ScriptString> Strings(const std::string& text) {
    return ReadResourceScript(Write("main.rc", text)).strings;
  }
  std::string Fault(const std::string& text) {
    try {
      Strings(text);
    } catch (const ResourceScriptError& fault) {
      return fault.what();
    }
    return {};
  }

  std::filesystem::path folder_;
};

TEST_F(ResourceScriptFile, RowsCarryTheLanguageBeforeThem) {
  EXPECT_THAT(Strings("LANGUAGE 0x09, 0x01\nSTRINGTABLE\nBEGIN\n  1 \"a\"\n  2, \"b\"\nEND\n"
                      "LANGUAGE 7, 1\nSTRINGTABLE { 1 \"\xC3\xA4\" }\n"),
              ElementsAre(ScriptString{1033, 1, "a"}, ScriptString{1033, 2, "b"},
                          ScriptString{1031, 1, "\xC3\xA4"}));
}

TEST_F(ResourceScriptFile, LanguageInsideATableIsTheTablesAlone) {
  EXPECT_THAT(Strings("LANGUAGE 9, 1 STRINGTABLE LANGUAGE 10, 3 BEGIN 1 \"x\" END "
                      "STRINGTABLE BEGIN 1 \"y\" END"),
              ElementsAre(ScriptString{3082, 1, "x"}, ScriptString{1033, 1, "y"}));
}

TEST_F(ResourceScriptFile, EscapesAndNeighboursMakeOneText) {
  EXPECT_THAT(Strings("STRINGTABLE BEGIN 1 \"say \"\"hi\"\"\\n\" \"C:\\\\a\\t\\r\" END"),
              ElementsAre(ScriptString{0, 1, "say \"hi\"\nC:\\a\t\r"}));
}

TEST_F(ResourceScriptFile, CommentsArePassedOver) {
  EXPECT_THAT(Strings("// LANGUAGE\n/* STRINGTABLE\n*/ #pragma code_page(65001)\n"
                      "STRINGTABLE BEGIN // a\n 1 \"// no comment\" END"),
              ElementsAre(ScriptString{0, 1, "// no comment"}));
}

TEST_F(ResourceScriptFile, OneFileServesTwoLanguages) {
  Write("rows.rc", "STRINGTABLE BEGIN 1 \"x\" END");
  const auto script = ReadResourceScript(Write(
      "main.rc", "LANGUAGE 10, 1\n#include \"rows.rc\"\nLANGUAGE 10, 3\n#include \"rows.rc\"\n"));
  EXPECT_THAT(script.strings, ElementsAre(ScriptString{1034, 1, "x"}, ScriptString{3082, 1, "x"}));
  EXPECT_THAT(script.files,
              ElementsAre(folder_ / "main.rc", folder_ / "rows.rc", folder_ / "rows.rc"));
}

TEST_F(ResourceScriptFile, FaultsNameFileLineAndWhatWasExpected) {
  EXPECT_THAT(Fault("\nMENU"), HasSubstr("main.rc:2: expected LANGUAGE, STRINGTABLE"));
  EXPECT_THAT(Fault("LANGUAGE 9"), HasSubstr("expected ,"));
  EXPECT_THAT(Fault("LANGUAGE LANG_ENGLISH, 1"), HasSubstr("expected a number"));
  EXPECT_THAT(Fault("STRINGTABLE\n1 \"a\""), HasSubstr(":2: expected BEGIN"));
  EXPECT_THAT(Fault("STRINGTABLE BEGIN x \"a\" END"), HasSubstr("expected an id or END"));
  EXPECT_THAT(Fault("STRINGTABLE BEGIN 1 a END"), HasSubstr("expected a text in quotes"));
  EXPECT_THAT(Fault("STRINGTABLE BEGIN 70000 \"a\" END"), HasSubstr("a number from 0 to 65535"));
  EXPECT_THAT(Fault("STRINGTABLE BEGIN 1 \"a\n\" END"), HasSubstr("expected a quote"));
  EXPECT_THAT(Fault("STRINGTABLE BEGIN 1 \"\\q\" END"), HasSubstr("for an escape"));
  EXPECT_THAT(Fault("STRINGTABLE BEGIN 1 \"a\" 1 \"b\" END"), HasSubstr("an id other than 1"));
  EXPECT_THAT(Fault("STRINGTABLE BEGIN 1 \"a\""), HasSubstr("expected an id or END"));
  EXPECT_THAT(Fault("/* no end"), HasSubstr("expected */"));
  EXPECT_THAT(Fault("#define A 1"), HasSubstr("expected #include"));
  EXPECT_THAT(Fault("#include \"none.rc\""), HasSubstr("none.rc: can't be read"));
  EXPECT_THAT(Fault("#include \"main.rc\""), HasSubstr("included in itself"));
}

}  // namespace
}  // namespace Lab
