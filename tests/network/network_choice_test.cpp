#include "network/network_choice.h"

#include "collection_test.h"
#include "support/console_capture.h"

namespace Halvard::Network {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using ::testing::HasSubstr;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::LogLine;
using ::testing::Not;
using Testing::PipedInput;
using Testing::TerminalInput;

Json::Value List(std::initializer_list<const char*> texts) {
  Json::Value list(Json::arrayValue);
  for (const char* text : texts) list.append(text);
  return list;
}

/// A machine whose name leads to two adapters.
class NetworkChoice : public CollectionTest {
 protected:
  NetworkChoice() {
    SetAdapters({{"08:00:27:00:00:01", {"192.0.2.10", "2001:db8::10"}},
                 {"08:00:27:00:00:02", {"198.51.100.20"}}});
    SetAddresses({"192.0.2.10", "198.51.100.20"});
    gProperties[L"APP_NET_PNID"] = L"kv.example";
  }

  struct AdapterOf {
    const char* mac;
    std::vector<const char*> addresses;
  };
  void SetAdapters(const std::vector<AdapterOf>& adapters) {
    Json::Value list(Json::arrayValue);
    for (const AdapterOf& from : adapters) {
      Json::Value adapter;
      adapter["mac"] = from.mac;
      for (const char* text : from.addresses) {
        Json::Value address;
        address["address"] = text;
        adapter["addresses"].append(address);
      }
      list.append(adapter);
    }
    machine_.Set("/adapters", list);
  }
  void SetAddresses(std::initializer_list<const char*> addresses) {
    machine_.Set("/hosts/kv.example", List(addresses));
  }
  /// A run without arguments, with the operator at a terminal.
  bool ChooseAtTerminal(const std::string& typed) {
    TerminalInput terminal;
    terminal.Type(typed);
    return CollectNetworkToMigrate({}, 1);
  }
  /// A run with arguments.
  static bool ChooseBy(const wchar_t* hvIp) {
    UserInput input;
    input.hvIp = hvIp;
    return CollectNetworkToMigrate(input, 3);
  }
  static std::wstring Chosen() { return gProperties[L"APP_NET_PNID_IP"]; }
  static std::wstring InitError() { return gProperties[L"HV_INIT_ERROR"]; }
  static std::vector<LogLine> Lines() { return LinesOf(L"CollectNetworkToMigrate"); }

  Testing::ConsoleCapture console_;
  const std::wstring wrong_ = L"Invalid option provided for IP. Enter a value between 1 and 2.";
  const std::wstring prompt_ = L"Enter a value between 1 and 2: ";
};

TEST_F(NetworkChoice, RoutableAddressesAreThoseOfLocalAdapters) {
  SetAddresses({"203.0.113.9", "198.51.100.20", "192.0.2.10", "203.0.113.10"});
  EXPECT_THAT(GetDnsRoutableAddresses(), ElementsAre(L"198.51.100.20", L"192.0.2.10"));
}

TEST_F(NetworkChoice, OlderInstallationsAreMigratedOnIPv4Alone) {
  SetAddresses({"2001:db8::10", "192.0.2.10"});
  EXPECT_THAT(GetDnsRoutableAddresses(), ElementsAre(L"192.0.2.10"));
  gProperties[L"RIMSAWIN_INSTALLED"] = L"1";
  EXPECT_THAT(GetDnsRoutableAddresses(), ElementsAre(L"192.0.2.10", L"2001:db8::10"));
  SetAddresses({"2001:db8::10"});
  EXPECT_THAT(GetDnsRoutableAddresses(), ElementsAre(L"2001:db8::10"));
  gProperties[L"RIMSAWIN_INSTALLED"] = L"yes";
  EXPECT_THAT(GetDnsRoutableAddresses(), IsEmpty());
}

TEST_F(NetworkChoice, AddressThatIsNotForDnsIsNotRoutable) {
  Json::Value adapters(Json::arrayValue);
  adapters[0]["addresses"][0]["address"] = "192.0.2.10";
  adapters[0]["addresses"][0]["dnsEligible"] = false;
  machine_.Set("/adapters", adapters);
  EXPECT_THAT(GetDnsRoutableAddresses(), IsEmpty());
}

TEST_F(NetworkChoice, NameOfAnotherMachineEndsTheRun) {
  SetAddresses({"203.0.113.9"});
  EXPECT_FALSE(CollectNetworkToMigrate({}, 1));
  EXPECT_EQ(InitError(), L"CollectNetwork Operation has Failed.");
  EXPECT_EQ(console_.Text(), L"CollectNetwork Operation has Failed.\n");
  EXPECT_EQ(Chosen(), L"");
  EXPECT_THAT(Lines(),
              ElementsAre(ErrorLine(L"CollectNetworkToMigrate: Failed to collect network settings "
                                    L"as there is no dns routableIP address on this machine")));
}

TEST_F(NetworkChoice, UnknownNameEndsTheRun) {
  gProperties[L"APP_NET_PNID"] = L"other.example";
  EXPECT_FALSE(ChooseBy(L""));
  EXPECT_EQ(InitError(), L"CollectNetwork Operation has Failed.");
}

TEST_F(NetworkChoice, OneAddressNeedsNoChoice) {
  SetAddresses({"198.51.100.20"});
  EXPECT_TRUE(CollectNetworkToMigrate({}, 1));
  EXPECT_EQ(Chosen(), L"198.51.100.20");
  EXPECT_EQ(console_.Text(), L"");
  EXPECT_THAT(Lines(), ElementsAre(InfoLine(L"CollectNetworkToMigrate: Network of "
                                            L"[198.51.100.20] will be migrated.")));
}

TEST_F(NetworkChoice, SeveralAddressesOfOneAdapterNeedNoChoice) {
  SetAdapters({{"08:00:27:00:00:01", {"192.0.2.10", "192.0.2.11"}}});
  SetAddresses({"192.0.2.11", "192.0.2.10"});
  EXPECT_TRUE(ChooseBy(L"192.0.2.10"));
  EXPECT_EQ(Chosen(), L"192.0.2.11");
}

TEST_F(NetworkChoice, OperatorChoosesAtTheTerminal) {
  EXPECT_TRUE(ChooseAtTerminal("2\r"));
  EXPECT_EQ(Chosen(), L"198.51.100.20");
  EXPECT_EQ(console_.Text(),
            L"\nYour Kelvane Server system name resolves to multiple IP addresses on multiple "
            L"network adapters. The migration process can only migrate configuration from one "
            L"network adapter. Choose the IP address of the adapter that you would like to "
            L"migrate. Additional network adapters can be added after the migration process is "
            L"complete.\n"
            L"   1) 192.0.2.10\n   2) 198.51.100.20\n" +
                prompt_);
  EXPECT_EQ(InitError(), L"");
  EXPECT_THAT(Lines(), ElementsAre(InfoLine(L"CollectNetworkToMigrate: Network of "
                                            L"[198.51.100.20] will be migrated.")));
}

struct Answer {
  const char* name;
  const char* typed;
  const wchar_t* chosen;  ///< Null for a wrong answer.
};
class Answers : public NetworkChoice, public ::testing::WithParamInterface<Answer> {};
TEST_P(Answers, AreReadAsANumberAtTheirStart) {
  const bool isRight = GetParam().chosen != nullptr;
  // Whatever a wrong answer is followed by decides.
  EXPECT_TRUE(ChooseAtTerminal(std::string(GetParam().typed) + "\r" + (isRight ? "" : "1\r")));
  EXPECT_EQ(Chosen(), isRight ? GetParam().chosen : L"192.0.2.10");
  EXPECT_EQ(InitError(), isRight ? L"" : wrong_);
  const std::wstring again = prompt_ + wrong_ + L"\n" + prompt_;
  EXPECT_EQ(console_.Text().find(again) == std::wstring::npos, isRight);
}
INSTANTIATE_TEST_SUITE_P(
    At, Answers,
    ::testing::Values(Answer{"First", "1", L"192.0.2.10"}, Answer{"Last", "2", L"198.51.100.20"},
                      Answer{"TrailingLetter", "2x", L"198.51.100.20"},
                      Answer{"TrailingNumber", "2 1", L"198.51.100.20"},
                      Answer{"LeadingBlank", "  2", L"198.51.100.20"},
                      Answer{"LeadingZero", "02", L"198.51.100.20"},
                      Answer{"LeadingLetter", "x2", nullptr}, Answer{"Zero", "0", nullptr},
                      Answer{"Negative", "-1", nullptr}, Answer{"AboveTheCount", "3", nullptr},
                      Answer{"Empty", "", nullptr}, Answer{"Address", "198.51.100.20", nullptr},
                      Answer{"Beyond32Bits", "4294967298", nullptr},
                      Answer{"Beyond64Bits", "18446744073709551618", nullptr}),
    [](const auto& row) { return row.param.name; });

TEST_F(NetworkChoice, ThreeWrongAnswersEndTheRun) {
  EXPECT_FALSE(ChooseAtTerminal("x\r0\r3\r1\r"));
  EXPECT_EQ(InitError(), wrong_);
  const std::wstring refusal = prompt_ + wrong_ + L"\n";
  EXPECT_TRUE(console_.Text().ends_with(refusal + refusal + refusal));
  EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(NetworkChoice, EndOfTheInputIsAWrongAnswer) {
  const PipedInput input("");
  EXPECT_FALSE(CollectNetworkToMigrate({}, 1));
  EXPECT_EQ(InitError(), wrong_);
}

TEST_F(NetworkChoice, RightAnswerAfterWrongOnesLeavesTheErrorOfThose) {
  EXPECT_TRUE(ChooseAtTerminal("x\r-1\r2\r"));
  EXPECT_EQ(Chosen(), L"198.51.100.20");
  EXPECT_EQ(InitError(), wrong_);
}

TEST_F(NetworkChoice, DialogueIsInTheLanguageOfTheOperatorAndTheErrorInEnglish) {
  SpeakLanguage(1031);
  gProperties[L"APP_NET_PNID"] = L"kv.example";
  EXPECT_FALSE(ChooseAtTerminal("x\rx\rx\r"));
  EXPECT_EQ(InitError(), wrong_);
  EXPECT_THAT(console_.Text(),
              AllOf(HasSubstr(L"   1) 192.0.2.10\n   2) 198.51.100.20\n"),
                    Not(HasSubstr(L"Enter a value")), Not(HasSubstr(L"Invalid option"))));
}

TEST_F(NetworkChoice, OptionChoosesInARunWithArguments) {
  EXPECT_TRUE(ChooseBy(L"198.51.100.20"));
  EXPECT_EQ(Chosen(), L"198.51.100.20");
  EXPECT_EQ(console_.Text(), L"");
}

TEST_F(NetworkChoice, OptionHasToBeSpelledAsTheSystemDoes) {
  gProperties[L"RIMSAWIN_INSTALLED"] = L"1";
  SetAddresses({"2001:db8::10", "198.51.100.20"});
  EXPECT_FALSE(ChooseBy(L"2001:DB8::10"));
  EXPECT_TRUE(ChooseBy(L"2001:db8::10"));
}

TEST_F(NetworkChoice, OptionThatIsNoneOfTheAddressesIsRefused) {
  EXPECT_FALSE(ChooseBy(L"198.51.100.2"));
  const std::wstring text =
      L"Invalid option provided for hv_ip. Valid IP addresses are 192.0.2.10, 198.51.100.20.";
  EXPECT_EQ(InitError(), text);
  EXPECT_EQ(console_.Text(), text + L"\n");
  EXPECT_THAT(Lines(), ElementsAre(InfoLine(L"CollectNetworkToMigrate: " + text)));
}

TEST_F(NetworkChoice, OptionIsNeededInARunWithArguments) {
  EXPECT_FALSE(ChooseBy(L""));
  const std::wstring text =
      L"Kelvane Server hostname resolves to multiple IP addresses. Pass the IP for which network "
      L"configuration should be migrated through the command line.";
  EXPECT_EQ(InitError(), text);
  EXPECT_EQ(console_.Text(), text + L"\n");
  EXPECT_THAT(Lines(), ElementsAre(ErrorLine(L"CollectNetworkToMigrate: " + text)));
}

TEST_F(NetworkChoice, RefusalsAreInTheLanguageOfTheOperatorAndLinesInEnglish) {
  SpeakLanguage(1036);
  gProperties[L"APP_NET_PNID"] = L"kv.example";
  EXPECT_FALSE(ChooseBy(L"192.0.2.1"));
  EXPECT_FALSE(ChooseBy(L""));
  EXPECT_THAT(console_.Text(),
              AllOf(HasSubstr(L"192.0.2.10, 198.51.100.20"), Not(HasSubstr(L"Invalid option")),
                    Not(HasSubstr(L"Pass the IP"))));
  EXPECT_THAT(InitError(), HasSubstr(L"Pass the IP"));
  EXPECT_THAT(Lines(), Contains(InfoLine(L"CollectNetworkToMigrate: Invalid option provided for "
                                         L"hv_ip. Valid IP addresses are 192.0.2.10, "
                                         L"198.51.100.20.")));
}

}  // namespace
}  // namespace Halvard::Network
