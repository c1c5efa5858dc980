#include "discovery/deployment_type.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "discovery_test.h"
#include "support/log_lines.h"

namespace Halvard::Discovery {
namespace {

using testing::Contains;
using testing::Field;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::LogLine;
using testing::Not;
using testing::Optional;
using Testing::OwnLog;
using testing::StartsWith;
using Testing::WarningLine;

/// "embedded" by both, to begin with.
class DeploymentType : public testing::Test {
 protected:
  void Configure(const std::string& bytes) { machine_.lab.WriteFile(file_, bytes); }
  void Register(const std::wstring& type) {
    machine_.lab.SetRegistryString(kServerKey, L"INSTALL_TYPE", type);
  }
  std::optional<std::wstring> Registered() const {
    return machine_.lab.RegistryString(kServerKey, L"INSTALL_TYPE");
  }

  const std::wstring file_ = std::wstring(kConfiguration) + L"deployment.node.type";
  const std::wstring value_ = L"[SOFTWARE\\Ostrel, Inc.\\Kelvane Server\\INSTALL_TYPE]";
  StartedMachine machine_{"embedded-platform"};
};

TEST_F(DeploymentType, IsLeftAloneWhereFileAndRegistryAgree) {
  EXPECT_EQ(GetRimsawinDeploymentType(), L"embedded");
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("RegSetKeyValueW"), 0u);
  EXPECT_THAT(OwnLog(), Not(Contains(Field(&LogLine::message, StartsWith(L"GetRimsawin")))));
}

TEST_F(DeploymentType, IsTheFilesWhereTheRegistryDiffers) {
  Configure("management\n");
  EXPECT_EQ(GetRimsawinDeploymentType(), L"management");
  EXPECT_THAT(Registered(), Optional(std::wstring(L"management")));
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"GetRimsawinDeploymentType: Successfully updated the install type registry key " +
          value_ + L" from embedded to management")));
}

TEST_F(DeploymentType, IsTheFilesWhereTheRegistryHasNone) {
  machine_.lab.RemoveRegistryValue(kServerKey, L"INSTALL_TYPE");
  EXPECT_EQ(GetRimsawinDeploymentType(), L"embedded");
  EXPECT_THAT(Registered(), Optional(std::wstring(L"embedded")));
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"GetRimsawinDeploymentType: Successfully updated the install type registry key " +
          value_ + L" from  to embedded")));
}

TEST_F(DeploymentType, IsTheFilesAlsoWhenTheRegistryCannotBeRepaired) {
  Configure("management\n");
  machine_.lab.PlanFault({.function = "RegSetKeyValueW", .error = 5});
  EXPECT_EQ(GetRimsawinDeploymentType(), L"management");
  EXPECT_THAT(Registered(), Optional(std::wstring(L"embedded")));
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(
                  L"GetRimsawinDeploymentType: Failed to update the install type registry key " +
                  value_ + L" from embedded to management")));
}

TEST_F(DeploymentType, IsTheRegistrysWithoutAFile) {
  machine_.lab.RemoveFile(file_);
  Register(L"infrastructure");
  EXPECT_EQ(GetRimsawinDeploymentType(), L"infrastructure");
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("RegSetKeyValueW"), 0u);
}

TEST_F(DeploymentType, IsTheRegistrysForAnEmptyFile) {
  Configure("");
  EXPECT_EQ(GetRimsawinDeploymentType(), L"embedded");
}

TEST_F(DeploymentType, IsTheRegistrysWithoutAConfigurationFolder) {
  machine_.lab.RemoveVariable(L"OSTREL_CFG_DIR");
  machine_.lab.RemoveRegistryValue(kServerKey, L"OSTREL_COMMONAPPDATA");
  Register(L"management");
  EXPECT_EQ(GetRimsawinDeploymentType(), L"management");
  EXPECT_THAT(OwnLog(),
              Not(Contains(Field(&LogLine::message, HasSubstr(L"deployment.node.type")))));
}

TEST_F(DeploymentType, IsEmptyWhenNothingTellsIt) {
  machine_.lab.RemoveFile(file_);
  machine_.lab.RemoveRegistryValue(kServerKey, L"INSTALL_TYPE");
  EXPECT_EQ(GetRimsawinDeploymentType(), L"");
}

TEST_F(DeploymentType, IsTheFilesWhenTheRegisteredOneIsNoText) {
  machine_.lab.SetRegistryValue(kServerKey, L"INSTALL_TYPE",
                                {.type = 4, .text = {}, .bytes = {1, 0, 0, 0}});
  EXPECT_EQ(GetRimsawinDeploymentType(), L"embedded");
  EXPECT_THAT(Registered(), Optional(std::wstring(L"embedded")));
}

}  // namespace
}  // namespace Halvard::Discovery
