#include "machine/description.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <stdlib.h>

#include <fstream>

#include "machine/start.h"
#include "machine/valid_mark.h"
#include "support/file_bytes.h"

namespace Lab {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

Json::Value Server() { return DescribedMachine(MachineFolder("windows-server")).Document(); }

Json::Value Parse(const std::string& text) {
  Json::Value value;
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) << text;
  return value;
}

std::string DescriptionFault(const Json::Value& document) {
  try {
    ParseDescription(document, "machine.json");
  } catch (const MachineError& fault) {
    return fault.what();
  }
  return {};
}

struct FaultCase {
  const char* name;
  std::vector<const char*> path;  ///< Where the wrong value goes.
  const char* value;
  const char* fault;
};

class FaultyDescription : public testing::TestWithParam<FaultCase> {};

TEST_P(FaultyDescription, NamesFilePlaceAndWhatWasExpected) {
  Json::Value document = Server();
  Json::Value* place = &document;
  for (const char* step : GetParam().path) place = &(*place)[step];
  *place = Parse(GetParam().value);
  EXPECT_THAT(DescriptionFault(document),
              StartsWith(std::string("machine.json: ") + GetParam().fault));
}

const FaultCase kFaults[] = {
    {"UnknownMember", {"color"}, "1", "/: unknown member \"color\"; expected "},
    {"UnknownMemberBelow", {"user", "colour"}, "1", "/user: unknown member \"colour\"; expected "},
    {"WrongType",
     {"computer", "uiLanguage"},
     "\"en\"",
     "/computer/uiLanguage: expected the language id"},
    {"NameTooLong",
     {"computer", "name"},
     "\"ABCDEFGHIJKLMNOP\"",
     "/computer/name: expected the NetBIOS name"},
    {"UserWithoutDomain", {"user", "name"}, "\"root\"", "/user/name: expected DOMAIN\\user"},
    {"BadSid",
     {"user", "groups"},
     "[\"S-1-5-32-544\", \"Administrators\"]",
     "/user/groups/1: expected a SID"},
    {"RelativePath",
     {"program", "path"},
     "\"Halvard.exe\"",
     "/program/path: expected the absolute path"},
    {"VariableWithoutName",
     {"environment", "system", ""},
     "\"x\"",
     "/environment/system: unknown member \"\"; expected the name of a variable"},
    {"VariableOfAnotherType",
     {"environment", "system", "X"},
     "1",
     "/environment/system/X: expected a text"},
    {"BadProductCode",
     {"products", "kelvane"},
     "{}",
     "/products: unknown member \"kelvane\"; expected a product code"},
    {"ProductWithoutUpgradeCode",
     {"products", "{6D0E4C2A-5A4B-4C0F-9B61-2F7C1D8E1101}"},
     "{\"properties\": {}}",
     "/products/{6D0E4C2A-5A4B-4C0F-9B61-2F7C1D8E1101}: expected an object with the product's"},
    {"LowerCaseCode",
     {"products", "{6D0E4C2A-5A4B-4C0F-9B61-2F7C1D8E1101}"},
     "{\"upgradeCode\": \"{a0b1c2d3-1111-4a11-8a11-0000000000a1}\", \"properties\": {}}",
     "/products/{6D0E4C2A-5A4B-4C0F-9B61-2F7C1D8E1101}/upgradeCode: expected a code in braces"},
    {"AccountInAGroupWithoutSid",
     {"accounts", "KVSOURCE\\x"},
     "{\"password\": \"\", \"groups\": [\"Users\"]}",
     "/accounts/KVSOURCE\\x/groups/0: expected a SID"},
    {"DomainThatNeverAnswers",
     {"domain"},
     "{\"name\": \"a.b\", \"netbiosName\": \"A\", \"answersAfter\": 600001}",
     "/domain/answersAfter: expected milliseconds of the machine"},
    {"ServiceWithASlash",
     {"services", "a/b"},
     "{\"program\": \"x\"}",
     "/services: unknown member \"a/b\"; expected a service's key name"},
    {"ServiceWithoutProgram",
     {"services", "a"},
     "{}",
     "/services/a: expected an object with the service's configuration"},
    {"ServiceInNoState",
     {"services", "EventLog", "state"},
     "\"started\"",
     "/services/EventLog/state: expected \"running\""},
    {"ServiceStartedByNobody",
     {"services", "EventLog", "startType"},
     "\"never\"",
     "/services/EventLog/startType: expected \"automatic\""},
    {"StartWithoutAnError",
     {"services", "EventLog", "start"},
     "{\"error\": 0}",
     "/services/EventLog/start/error: expected the error code"},
    {"StepWithoutEnd",
     {"services", "EventLog", "start"},
     "{\"steps\": [{\"waitHint\": 1}]}",
     "/services/EventLog/start/steps/0: expected an object with the step's milliseconds"},
    {"StartThatEndsOtherwise",
     {"services", "EventLog", "start"},
     "{\"outcome\": \"fails\"}",
     "/services/EventLog/start/outcome: expected \"runs\""},
    {"PortBeyondTheLast",
     {"ports", "tcp", "0.0.0.0:65536"},
     "\"listening\"",
     "/ports/tcp: expected an IPv4 address, a colon and a port: 0.0.0.0:65536"},
    {"PortZero",
     {"ports", "tcp", "0.0.0.0:0"},
     "\"listening\"",
     "/ports/tcp: unknown member \"0.0.0.0:0\"; expected an IPv4 address"},
    {"EndPointOfANumberBeyondAByte",
     {"ports", "tcp", "0.0.0.256:80"},
     "\"listening\"",
     "/ports/tcp: expected an IPv4 address, a colon and a port: 0.0.0.256:80"},
    {"EndPointOfThreeNumbers",
     {"ports", "udp", "10.0.0:123"},
     "\"bound\"",
     "/ports/udp: expected an IPv4 address, a colon and a port: 10.0.0:123"},
    {"UnknownState",
     {"ports", "tcp", "0.0.0.0:80"},
     "\"open\"",
     "/ports/tcp/0.0.0.0:80: expected \"listening\""},
    {"ClockThatStands", {"clock", "speed"}, "0", "/clock/speed: expected a number above 0"},
    {"DayThatIsNone",
     {"clock", "startTime"},
     "\"2026-02-30T00:00:00Z\"",
     "/clock/startTime: expected a day and time that exist"},
    {"TimeInAnotherForm",
     {"clock", "startTime"},
     "\"now\"",
     "/clock/startTime: expected the time of day"},
    {"FaultWithoutError",
     {"faults"},
     "[{\"function\": \"Sleep\"}]",
     "/faults/0: expected an object with function and error"},
    {"FaultWithCallAndFrom",
     {"faults"},
     "[{\"function\": \"Sleep\", \"error\": 5, \"call\": 1, \"from\": 2}]",
     "/faults/0: expected an object with function and error, and call or from"},
    {"CallZero",
     {"faults"},
     "[{\"function\": \"Sleep\", \"error\": 5, \"call\": 0}]",
     "/faults/0/call: expected the number of the one call"},
    {"MacOfNineBytes",
     {"adapters"},
     "[{\"mac\": \"00:11:22:33:44:55:66:77:88\"}]",
     "/adapters/0/mac: expected the hardware address"},
    {"AddressThatIsNone",
     {"adapters"},
     "[{\"addresses\": [{\"address\": \"127.1\"}]}]",
     "/adapters/0/addresses/0/address: expected an IPv4 or IPv6 address"},
    {"GatewayThatIsNone",
     {"adapters"},
     "[{}, {\"gateways\": [\"192.0.2.1\", \"router\"]}]",
     "/adapters/1/gateways/1: expected an IPv4 or IPv6 address"},
    {"DnsServerThatIsNone",
     {"adapters"},
     "[{\"dnsServers\": [\"dns\"]}]",
     "/adapters/0/dnsServers/0: expected an IPv4 or IPv6 address"},
    {"DhcpServerOfTheOtherFamily",
     {"adapters"},
     "[{\"dhcpServer6\": \"192.0.2.1\"}]",
     "/adapters/0/dhcpServer6: expected an address of the other family"},
    {"PrefixLongerThanTheAddress",
     {"adapters"},
     "[{\"addresses\": [{\"address\": \"192.0.2.1\", \"prefixLength\": 33}]}]",
     "/adapters/0/addresses/0/prefixLength: expected at most 32 for IPv4"},
    {"UnknownOrigin",
     {"adapters"},
     "[{\"addresses\": [{\"address\": \"192.0.2.1\", \"prefixOrigin\": \"random\"}]}]",
     "/adapters/0/addresses/0/prefixOrigin: expected where the prefix comes from"},
    {"DuidOfHalfAByte",
     {"adapters"},
     "[{\"duid\": \"00:1\"}]",
     "/adapters/0/duid: expected the machine's id for DHCPv6"},
    {"AdaptersOfSomebodyElse",
     {"adapters"},
     "\"guest\"",
     "/adapters: expected a list of the network adapters, in the order in which the system lists "
     "them, or \"host\" for those of the host"},
    {"DnsOfSomebodyElse",
     {"dns"},
     "\"guest\"",
     "/dns: expected an object with what the DNS servers know, or \"host\""},
    {"HostThatIsNoAddress",
     {"hosts"},
     "{\"printer\": [\"192.0.2.256\"]}",
     "/hosts/printer: expected addresses"},
    {"RecordOfAnUnknownType",
     {"dns"},
     "{\"names\": {\"a.example\": [{\"type\": \"MX\", \"value\": \"b\"}]}}",
     "/dns/names/a.example"},
    {"RecordOfTheOtherFamily",
     {"dns"},
     "{\"names\": {\"a.example\": [{\"type\": \"A\", \"value\": \"::1\"}]}}",
     "/dns/names/a.example/0/value: expected an address of the record's family"},
    {"UnknownDnsFailure",
     {"dns"},
     "{\"names\": {\"a.example\": \"lost\"}}",
     "/dns/names/a.example: expected a list of records"},
    {"DnsServerByName",
     {"dns"},
     "{\"server\": \"ns.example\"}",
     "/dns/server: expected an address"},
    {"VersionOfThreeParts",
     {"fileVersions"},
     "{\"C:\\\\Windows\\\\a.dll\": \"6.1.7601\"}",
     "/fileVersions/C:\\Windows\\a.dll: expected four numbers with dots"},
    {"VersionBeyondAWord",
     {"fileVersions"},
     "{\"C:\\\\Windows\\\\a.dll\": \"6.1.7601.65536\"}",
     "/fileVersions/C:\\Windows\\a.dll: expected numbers up to 65535"},
    {"VersionOfARelativePath",
     {"fileVersions"},
     "{\"a.dll\": \"6.1.7601.1\"}",
     "/fileVersions: unknown member \"a.dll\"; expected an absolute path"},
    {"BaseInAnInstance", {"base"}, "\"windows-server\"", "/base: expected none in an instance"},
};

INSTANTIATE_TEST_SUITE_P(Members, FaultyDescription, testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Description, MissingMemberIsAFault) {
  Json::Value document = Server();
  document.removeMember("user");
  EXPECT_THAT(DescriptionFault(document),
              StartsWith("machine.json: /: expected an object that describes"));
}

TEST(Description, NoObjectIsAFault) {
  EXPECT_THAT(DescriptionFault(Parse("[]")), StartsWith("machine.json: /: expected an object"));
  EXPECT_THAT(DescriptionFault(Json::Value()), StartsWith("machine.json: /: expected an object"));
}

TEST(Description, LeavesOutWhatIsLeftOut) {
  Json::Value document = Server();
  document["computer"].removeMember("uiLanguage");
  document["computer"].removeMember("session");
  document.removeMember("ports");
  const Description description = ParseDescription(document, "machine.json");
  EXPECT_EQ(description.uiLanguage, 1033);
  EXPECT_EQ(description.sessionId, 1u);
  EXPECT_EQ(description.currentDirectory, L"C:\\Halvard");
  EXPECT_TRUE(description.tcp.empty());
  EXPECT_EQ(description.clock.speed, 1.0);
}

TEST(Description, ProgramAtTheRootIsStartedThere) {
  Json::Value document = Server();
  document["program"]["path"] = "D:\\Halvard.exe";
  EXPECT_EQ(ParseDescription(document, "machine.json").currentDirectory, L"D:\\");
}

TEST(Description, ProcessSeesItsOwnVariablesOverTheUsersOverTheSystems) {
  Json::Value document = Server();
  document["environment"] = Parse(
      R"({"system": {"A": "1", "B": "1", "C": "1"}, "user": {"b": "2", "C": "2"},
          "process": {"c": "3"}})");
  const Description description = ParseDescription(document, "machine.json");
  EXPECT_EQ(description.processVariables.at(L"A"), L"1");
  EXPECT_EQ(description.processVariables.at(L"B"), L"2");
  EXPECT_EQ(description.processVariables.at(L"C"), L"3");
  EXPECT_EQ(description.systemVariables.at(L"C"), L"1");
}

TEST(Description, AdministratorsWithoutElevationAreDenied) {
  Json::Value document = Server();
  document["user"]["elevated"] = false;
  for (const Group& group : ParseDescription(document, "machine.json").groups) {
    EXPECT_EQ(group.denyOnly, group.sid == L"S-1-5-32-544");
  }
}

TEST(Description, StartTimeCountsFrom1601) {
  Json::Value document = Server();
  document["clock"]["startTime"] = "2024-02-29T23:59:58.987Z";
  EXPECT_EQ(ParseDescription(document, "machine.json").clock.startTime, 133537247989870000u);
}

class JsonFile : public testing::Test {
 protected:
  JsonFile() {
    std::string folder = testing::TempDir() + "json-XXXXXX";
    folder_ = mkdtemp(folder.data());
  }
  ~JsonFile() override { std::filesystem::remove_all(folder_); }
  std::string DescriptionFault(const std::string& text) {
    std::ofstream(folder_ / "machine.json") << text;
    try {
      ReadJson(folder_ / "machine.json");
    } catch (const MachineError& fault) {
      return fault.what();
    }
    return {};
  }
  std::filesystem::path folder_;
};

TEST_F(JsonFile, FaultNamesFileLineAndColumn) {
  const std::string fault = DescriptionFault("{\n  \"a\": 1,\n  \"b\" 2\n}");
  EXPECT_THAT(fault, StartsWith((folder_ / "machine.json").string() + ": not a JSON document: "));
  EXPECT_THAT(fault, HasSubstr("Line 3, Column 7"));
  EXPECT_EQ(fault.find('\n'), std::string::npos);
}

TEST_F(JsonFile, MemberThatComesTwiceIsAFault) {
  EXPECT_THAT(DescriptionFault(R"({"a": 1, "a": 2})"), HasSubstr("Duplicate key"));
}

TEST_F(JsonFile, EmptyAndMissingFilesAreFaults) {
  EXPECT_THAT(DescriptionFault(""), HasSubstr("not a JSON document"));
  EXPECT_THROW(ReadJson(folder_ / "none.json"), MachineError);
}

/// An instance with nothing but its description.
class DescribedInstance : public JsonFile {
 protected:
  DescribedInstance() {
    std::filesystem::create_directory(folder_ / "run");
    Write("");
  }
  /// \param more  Stands behind the document, where JSON allows what changes nothing.
  void Write(const std::string& more) {
    std::ofstream(folder_ / "machine.json") << Server().toStyledString() << more;
  }
  ValidMark Mark() const { return {folder_, FileBytes(folder_ / "machine.json")}; }
};

TEST_F(DescribedInstance, IsMarkedAsValidOnceItIsRead) {
  EXPECT_FALSE(Mark().Stands());
  ReadDescription(folder_);
  EXPECT_TRUE(Mark().Stands());
}

TEST_F(DescribedInstance, IsntTestedAgainWhereItIsMarked) {
  std::ofstream(folder_ / "machine.json") << R"({"base": "windows-server"})";
  Mark().Leave();
  EXPECT_THAT([this] { ReadDescription(folder_); },
              testing::ThrowsMessage<MachineError>(HasSubstr("/base: expected none")));
}

TEST_F(DescribedInstance, IsTestedAgainOnceItHasChanged) {
  ReadDescription(folder_);
  Write(" ");
  EXPECT_FALSE(Mark().Stands());
  std::ofstream(folder_ / "machine.json") << R"({"base": "windows-server"})";
  EXPECT_THAT([this] { ReadDescription(folder_); },
              testing::ThrowsMessage<MachineError>(testing::Not(HasSubstr("/base"))));
}

TEST_F(DescribedInstance, IsReadWithoutRoomForAMark) {
  std::filesystem::remove(folder_ / "run");
  EXPECT_EQ(ReadDescription(folder_).computerName, ParseDescription(Server(), "").computerName);
  EXPECT_FALSE(Mark().Stands());
}

}  // namespace
}  // namespace Lab
