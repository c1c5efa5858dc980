#include "discovery/update_manager_record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "discovery_test.h"
#include "support/log_lines.h"

namespace Halvard::Discovery {
namespace {

using testing::Contains;
using Testing::ErrorLine;
using testing::Field;
using Testing::InfoLine;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;

TEST(UpdateManagerRecord, IsReadFromTheRegistry) {
  const StartedMachine machine("update-manager");
  TumInfo record;
  EXPECT_TRUE(RetrieveTumInfoFromRegistry(record));
  EXPECT_EQ(record.kvServer, L"kelvane.corp.example");
  EXPECT_EQ(record.kvPort, 443);
  EXPECT_EQ(record.kvUserName, L"Administrator@ostrel.local");
  EXPECT_EQ(record.kvThumbprint, L"8A:0C:5F:11:2E:9B:77:D4:03:66:41:FA:90:BC:28:E5:7D:13:C6:5A");
  EXPECT_EQ(record.tumServer, L"192.0.2.21");
  EXPECT_EQ(record.dbServerType, L"Bundled");
  EXPECT_THAT(OwnLog(), Not(Contains(Field(&LogLine::level, 'E'))));
}

TEST(UpdateManagerRecord, TakesAPortThatIsNoNumberForZero) {
  StartedMachine machine("update-manager");
  machine.lab.SetRegistryString(kUpdateManagerKey, L"KVServerPort", L"https");
  TumInfo record;
  EXPECT_TRUE(RetrieveTumInfoFromRegistry(record));
  EXPECT_EQ(record.kvPort, 0);
}

struct MissingValue {
  std::wstring value;
  std::wstring line;
};

void PrintTo(const MissingValue& missing, std::ostream* stream) {
  *stream << std::string(missing.value.begin(), missing.value.end());
}

const MissingValue kMissingValues[] = {
    {L"KVServer",
     L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV server addr from the registry."},
    {L"KVServerPort",
     L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV port from the registry."},
    {L"KVUserName",
     L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV username from the registry."},
    {L"KVThumbprint",
     L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV thumbprint from the registry."},
    {L"TUMServer",
     L"RetrieveTumInfoFromRegistry: Failed to retrieve the TUM server addr from the registry."},
    {L"DbServerType",
     L"RetrieveTumInfoFromRegistry: Failed to retrieve the TUM DB type from the registry."},
};

class IncompleteUpdateManagerRecord : public testing::TestWithParam<MissingValue> {};

TEST_P(IncompleteUpdateManagerRecord, EndsAtTheFirstMissingValue) {
  StartedMachine machine("update-manager");
  machine.lab.RemoveRegistryValue(kUpdateManagerKey, GetParam().value);
  TumInfo record;
  EXPECT_FALSE(RetrieveTumInfoFromRegistry(record));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(GetParam().line)));
  EXPECT_THAT(OwnLog(), Contains(Field(&LogLine::level, 'E')).Times(1));
}

INSTANTIATE_TEST_SUITE_P(Values, IncompleteUpdateManagerRecord, testing::ValuesIn(kMissingValues),
                         [](const auto& row) {
                           return std::string(row.param.value.begin(), row.param.value.end());
                         });

TEST(IncompleteUpdateManagerRecords, AreReadInTheirOrder) {
  const StartedMachine machine("windows-server");
  TumInfo record;
  EXPECT_FALSE(RetrieveTumInfoFromRegistry(record));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(kMissingValues[0].line)));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("RegGetValueW"), 1u);
}

class UpdateManagerProperties : public testing::Test {
 protected:
  static void Set(const std::wstring& dbServerType) {
    gProperties[L"SOURCE_VERSION"] = L"6.0";
    SetRequiredTumProperties({.kvServer = L"kelvane.corp.example",
                              .kvPort = 8443,
                              .kvUserName = L"Administrator@ostrel.local",
                              .kvThumbprint = L"8A:0C",
                              .tumServer = L"192.0.2.21",
                              .dbServerType = dbServerType});
  }

  const StartedMachine machine_{"windows-server"};
};

TEST_F(UpdateManagerProperties, FollowTheRecord) {
  Set(L"Bundled");
  EXPECT_EQ(PropertyValue(L"KV_VERSION"), L"6.0");
  EXPECT_EQ(PropertyValue(L"KV_URL"), L"http://kelvane.corp.example:8443");
  EXPECT_EQ(PropertyValue(L"KV_SSL_THUMBPRINT"), L"8A:0C");
  EXPECT_EQ(PropertyValue(L"TUM_KV_SERVER"), L"kelvane.corp.example");
  EXPECT_EQ(PropertyValue(L"TUM_KV_PORT"), L"8443");
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"embedded");
  EXPECT_THAT(OwnLog(), testing::ElementsAre(InfoLine(
                            L"SetRequiredTumProperties: Setting required TUM properties.")));
}

TEST_F(UpdateManagerProperties, CallAnyOtherDatabaseExternal) {
  for (const wchar_t* type : {L"Custom", L"bundled", L""}) {
    Set(type);
    EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"external");
  }
}

}  // namespace
}  // namespace Halvard::Discovery
