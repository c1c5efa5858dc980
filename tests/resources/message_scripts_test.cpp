// The eight languages against one another, by their scripts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "message_script.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Pair;
using testing::UnorderedElementsAreArray;
using testing::Values;

constexpr unsigned int kFirstEnglishOnly = 1230;
constexpr unsigned int kLastEnglishOnly = 1237;

std::string ReadScript(const std::string& name) {
  std::ifstream file(HALVARD_RESOURCE_DIR "/" + name, std::ios::binary);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

const MessageTable& English() {
  static const MessageTable table = ParseMessageScript(ReadScript("messages_en.rc"));
  return table;
}

std::set<unsigned int> Ids(const MessageTable& table) {
  std::set<unsigned int> ids;
  for (const auto& [id, text] : table) ids.insert(id);
  return ids;
}

std::vector<std::string> Placeholders(const std::string& text) {
  // With the quotes around them: 'name' is an argument that the operator is to recognise.
  static const std::regex kPlaceholder(R"re('?\[\d\]'?)re");
  std::vector<std::string> found(std::sregex_token_iterator(text.begin(), text.end(), kPlaceholder),
                                 {});
  std::sort(found.begin(), found.end());
  return found;
}

std::string LeadingBlanks(const std::string& text) {
  return text.substr(0, std::min(text.find_first_not_of(" \n"), text.size()));
}

std::string TrailingBlanks(const std::string& text) {
  return text.substr(text.find_last_not_of(" \n") + 1);
}

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t i = text.find(part); i != std::string::npos; i = text.find(part, i + 1)) ++count;
  return count;
}

TEST(MessageLanguages, NineIdsReadEightScripts) {
  std::vector<std::pair<unsigned int, std::string>> languages;
  for (const MessageLanguage& language : ParseMessageLanguages(ReadScript("messages.rc"))) {
    languages.emplace_back(language.id, language.script);
  }
  EXPECT_THAT(languages, ElementsAre(Pair(1028, "messages_zh_TW.rc"), Pair(1031, "messages_de.rc"),
                                     Pair(1033, "messages_en.rc"), Pair(1036, "messages_fr.rc"),
                                     Pair(1041, "messages_ja.rc"), Pair(1042, "messages_ko.rc"),
                                     Pair(2052, "messages_zh_CN.rc"), Pair(1034, "messages_es.rc"),
                                     Pair(3082, "messages_es.rc")));
}

TEST(EnglishMessages, HasAllRows) {
  EXPECT_EQ(English().size(), 190u);
  EXPECT_EQ(English().begin()->first, 1001u);
  EXPECT_EQ(English().rbegin()->first, 1237u);
}

TEST(EnglishMessages, KeepsRowsThatNoCodeFetches) {
  EXPECT_THAT(Ids(English()),
              IsSupersetOf({1003, 1004, 1016, 1026, 1037, 1065, 1111, 1112, 1132, 1147, 1178}));
}

TEST(EnglishMessages, KeepsOddBlanks) {
  EXPECT_EQ(English().at(1029).substr(0, 4), " If ");
  EXPECT_EQ(English().at(1053), "\n Resolve the above errors and relaunch Halvard.\n");
  EXPECT_TRUE(English().at(1002).ends_with(" Required: [1] , Found: [2] ."));
  EXPECT_NE(English().at(1095).find("Appliance,this"), std::string::npos);
  EXPECT_NE(English().at(1149).find("shutdown.  move the above"), std::string::npos);
  EXPECT_NE(English().at(1149).find("5.5:[0] \nThis"), std::string::npos);
  EXPECT_NE(English().at(1230).find(":\n\n   Zip File: [0]\nExport Data: [1]"), std::string::npos);
}

TEST(EnglishMessages, NamesTheSupportArticle) {
  EXPECT_EQ(English().at(1154),
            "Error: Windows Machine is configured to use the NTP server(s) [0] which is/are not "
            "responding to NTP requests.\nResolution: Refer "
            "https://kb.ostrel.example/time-servers to reconfigure the machine to use valid NTP "
            "servers.");
}

struct Translation {
  std::string name;
  /// Texts that are the same in this language as in English.
  std::set<unsigned int> sameAsEnglish;
};

void PrintTo(const Translation& translation, std::ostream* stream) { *stream << translation.name; }

const Translation kTranslations[] = {
    {"de", {1023, 1175}}, {"es", {1133, 1175}}, {"fr", {}},    {"ja", {1175}},
    {"ko", {1175}},       {"zh_CN", {}},        {"zh_TW", {}},
};

class TranslatedMessages : public testing::TestWithParam<Translation> {
 protected:
  /// The rows that are translated, each with its English text.
  struct Row {
    unsigned int id;
    std::string text;
    std::string english;
  };

  void SetUp() override {
    table_ = ParseMessageScript(ReadScript("messages_" + GetParam().name + ".rc"));
    for (const auto& [id, text] : table_) {
      if (id < kFirstEnglishOnly && English().contains(id)) {
        rows_.push_back({id, text, English().at(id)});
      }
    }
    ASSERT_GT(rows_.size(), 100u);
  }

  MessageTable table_;
  std::vector<Row> rows_;
};

TEST_P(TranslatedMessages, HasEveryIdButTheEnglishOnes) {
  std::set<unsigned int> expected = Ids(English());
  for (unsigned int id = kFirstEnglishOnly + 2; id <= kLastEnglishOnly; ++id) expected.erase(id);
  EXPECT_THAT(Ids(table_), UnorderedElementsAreArray(expected));
}

TEST_P(TranslatedMessages, RepeatsTheEnglishPromptsOfASharedBlock) {
  EXPECT_EQ(table_[1230], English().at(1230));
  EXPECT_EQ(table_[1231], English().at(1231));
}

TEST_P(TranslatedMessages, KeepsPlaceholders) {
  for (const Row& row : rows_) {
    EXPECT_EQ(Placeholders(row.text), Placeholders(row.english)) << row.id;
  }
}

TEST_P(TranslatedMessages, KeepsBlanksAtBothEnds) {
  for (const Row& row : rows_) {
    EXPECT_EQ(LeadingBlanks(row.text), LeadingBlanks(row.english)) << row.id;
    EXPECT_EQ(TrailingBlanks(row.text), TrailingBlanks(row.english)) << row.id;
  }
}

TEST_P(TranslatedMessages, KeepsLineEnds) {
  for (const Row& row : rows_) {
    EXPECT_EQ(Count(row.text, "\n"), Count(row.english, "\n")) << row.id;
    EXPECT_EQ(Count(row.text, " \n"), Count(row.english, " \n")) << row.id;
  }
}

TEST_P(TranslatedMessages, IsTranslated) {
  std::set<unsigned int> same;
  for (const Row& row : rows_) {
    if (row.text == row.english) same.insert(row.id);
  }
  EXPECT_EQ(same, GetParam().sameAsEnglish);
}

TEST_P(TranslatedMessages, KeepsNames) {
  // Names of products, options and operations, addresses, versions and abbreviations.
  const std::string kNames[] = {
      "Kelvane Server",
      "Kelvane Server Appliance",
      "Belvar Controller",
      "Belvar Controller Appliance",
      "Belvar Service Controller 6.0",
      "Belvar Service Controller Appliance 6.0",
      "Single Sign-On",
      "Tarmis Update Manager",
      "Tarmis Upgrade Guide",
      "Ostrel",
      "Halvard",
      "Ostrel-Halvard.exe",
      "PostgreSQL",
      "Windows",
      "Active Directory",
      "LocalSystem",
      "Administrator@[0]",
      "HV_ALLOW_LARGE_PLUS_INV",
      "hv_ip",
      "CollectNetwork",
      "'Migrate'",
      "'Connect to source server'",
      "https://kb.ostrel.example/time-servers",
      "API",
      "DHCP",
      "FQDN",
      "HTTPS",
      "IPv6",
      "MAC",
      "NTP",
      "SCP",
      "SSL",
      "SSO",
      "TUM",
      "5.1",
      "5.5",
      "6.0",
      "1000",
      "10000",
  };
  for (const Row& row : rows_) {
    for (const std::string& name : kNames) {
      EXPECT_GE(Count(row.text, name), Count(row.english, name)) << row.id << " " << name;
    }
  }
}

TEST_P(TranslatedMessages, SaysTheSameForTheSame) {
  // English has some texts under several ids; whoever translates one must not forget the others.
  for (const auto& [one, other] :
       {std::pair(1047, 1178), {1059, 1087}, {1074, 1076}, {1094, 1170}, {1116, 1119}}) {
    EXPECT_EQ(table_.at(static_cast<unsigned int>(one)),
              table_.at(static_cast<unsigned int>(other)))
        << one;
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, TranslatedMessages, testing::ValuesIn(kTranslations),
                         [](const auto& row) { return row.param.name; });

class MessageLengths : public testing::TestWithParam<std::string> {};

TEST_P(MessageLengths, FitTheBufferThatLoadsThem) {
  // A text is loaded into 2,048 characters and cut without a word. None takes more characters in
  // UTF-16 than bytes in UTF-8.
  for (const auto& [id, text] : ParseMessageScript(ReadScript("messages_" + GetParam() + ".rc"))) {
    EXPECT_FALSE(text.empty()) << id;
    EXPECT_LE(text.size(), 2047u) << id;
  }
}

INSTANTIATE_TEST_SUITE_P(Languages, MessageLengths,
                         testing::Values("de", "en", "es", "fr", "ja", "ko", "zh_CN", "zh_TW"));

}  // namespace
