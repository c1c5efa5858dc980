#include "host/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "failing_allocation.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Host {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::Field;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using testing::Optional;
using Testing::OwnLog;
using testing::StartsWith;
using Testing::WarningLine;

const std::wstring kHive = L"HKEY_LOCAL_MACHINE\\";
const std::wstring kKey = L"SOFTWARE\\Ostrel, Inc.\\Kelvane Server";
const std::wstring kUpgradeCode = L"{A0B1C2D3-1111-4A11-8A11-0000000000A1}";

class Registry : public testing::Test {
 protected:
  Lab::Instance machine_;
};

class RegistryReading : public Registry {
 protected:
  bool Read(const std::wstring& name) {
    return ReadRegistryString(HKEY_LOCAL_MACHINE, kKey, name, text_);
  }

  std::wstring text_ = L"before";
};

TEST_F(RegistryReading, GivesAString) {
  machine_.SetRegistryString(kHive + kKey, L"Name", L"\u00e4 \u8a66 \U0001D4BD");
  EXPECT_TRUE(Read(L"Name"));
  EXPECT_EQ(text_, L"\u00e4 \u8a66 \U0001D4BD");
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(RegistryReading, GivesAnEmptyString) {
  machine_.SetRegistryString(kHive + kKey, L"Name", L"");
  EXPECT_TRUE(Read(L"Name"));
  EXPECT_EQ(text_, L"");
}

TEST_F(RegistryReading, LeavesReferencesToVariablesAlone) {
  machine_.SetRegistryString(kHive + kKey, L"Name", L"%SystemRoot%\\x");
  EXPECT_TRUE(Read(L"Name"));
  EXPECT_EQ(text_, L"%SystemRoot%\\x");
}

TEST_F(RegistryReading, TellsAMissingValueWithoutAlarm) {
  machine_.SetRegistryString(kHive + kKey, L"Other", L"x");
  EXPECT_FALSE(Read(L"Name"));
  EXPECT_EQ(text_, L"before");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"ReadRegistryString: Registry value " + kKey +
                                             L"\\Name was not found")));
}

TEST_F(RegistryReading, TellsAMissingKeyWithoutAlarm) {
  machine_.RemoveRegistryKey(kHive + kKey);
  EXPECT_FALSE(Read(L"Name"));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"ReadRegistryString: Registry value " + kKey +
                                             L"\\Name was not found")));
}

TEST_F(RegistryReading, WarnsOfAValueOfAnotherType) {
  machine_.SetRegistryValue(kHive + kKey, L"Name", {.type = 4, .text = {}, .bytes = {1, 0, 0, 0}});
  EXPECT_FALSE(Read(L"Name"));
  EXPECT_EQ(text_, L"before");
  EXPECT_THAT(OwnLog(),
              ElementsAre(WarningLine(L"ReadRegistryString: Failed to read registry value " + kKey +
                                      L"\\Name. Error code: 1630")));
}

TEST_F(RegistryReading, GivesNoExpandableString) {
  machine_.SetRegistryValue(kHive + kKey, L"Name",
                            {.type = 2, .text = std::wstring(L"text\0", 5), .bytes = {}});
  EXPECT_FALSE(Read(L"Name"));
  EXPECT_EQ(text_, L"before");
}

TEST_F(RegistryReading, GivesUpTo2047Characters) {
  machine_.SetRegistryString(kHive + kKey, L"Name", std::wstring(2047, L'x'));
  EXPECT_TRUE(Read(L"Name"));
  EXPECT_EQ(text_, std::wstring(2047, L'x'));
}

TEST_F(RegistryReading, WarnsOfALongerString) {
  machine_.SetRegistryString(kHive + kKey, L"Name", std::wstring(2048, L'x'));
  EXPECT_FALSE(Read(L"Name"));
  EXPECT_EQ(text_, L"before");
  EXPECT_THAT(OwnLog(),
              ElementsAre(WarningLine(L"ReadRegistryString: Failed to read registry value " + kKey +
                                      L"\\Name. Error code: 234")));
}

TEST_F(RegistryReading, WarnsWhenItIsRefused) {
  machine_.SetRegistryString(kHive + kKey, L"Name", L"x");
  machine_.PlanFault({.function = "RegGetValueW", .error = 5});
  EXPECT_FALSE(Read(L"Name"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(WarningLine(L"ReadRegistryString: Failed to read registry value " + kKey +
                                      L"\\Name. Error code: 5")));
}

class RegistryWriting : public Registry {
 protected:
  void SetUp() override { machine_.SetRegistryString(kHive + kKey, L"Name", L"before"); }

  static bool Write(const std::wstring& text) {
    return SetRegistryString(HKEY_LOCAL_MACHINE, kKey, L"Name", text);
  }

  std::optional<std::wstring> Stored() const {
    return machine_.RegistryString(kHive + kKey, L"Name");
  }

  static void ExpectThatKeysWereClosed() {
    const Lab::FaultPlan& calls = Lab::TheMachine().Faults();
    EXPECT_EQ(calls.Calls("RegCloseKey"), calls.Calls("RegOpenKeyExW"));
  }
};

TEST_F(RegistryWriting, StoresTheWholeText) {
  EXPECT_TRUE(Write(L"\u00e4 \u8a66 \U0001D4BD"));
  EXPECT_THAT(Stored(), Optional(std::wstring(L"\u00e4 \u8a66 \U0001D4BD")));
  EXPECT_THAT(OwnLog(), IsEmpty());
  ExpectThatKeysWereClosed();
}

TEST_F(RegistryWriting, StoresAnEmptyText) {
  EXPECT_TRUE(Write(L""));
  EXPECT_THAT(Stored(), Optional(std::wstring()));
}

TEST_F(RegistryWriting, IsReadBackAsItWasStored) {
  EXPECT_TRUE(Write(L"management"));
  std::wstring text;
  EXPECT_TRUE(ReadRegistryString(HKEY_LOCAL_MACHINE, kKey, L"Name", text));
  EXPECT_EQ(text, L"management");
}

TEST_F(RegistryWriting, NeverCreatesTheKey) {
  machine_.RemoveRegistryKey(kHive + kKey);
  EXPECT_FALSE(Write(L"x"));
  EXPECT_EQ(Stored(), std::nullopt);
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"SetRegistryString: Failed to open the registry subkey, " +
                                    kKey + L". Error code: 2")));
}

TEST_F(RegistryWriting, TellsThatTheKeyIsRefused) {
  machine_.PlanFault({.function = "RegOpenKeyExW", .error = 5});
  EXPECT_FALSE(Write(L"x"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"SetRegistryString: Failed to open the registry subkey, " +
                                    kKey + L". Error code: 5")));
}

TEST_F(RegistryWriting, TellsThatTheValueIsRefusedAndClosesTheKey) {
  machine_.PlanFault({.function = "RegSetKeyValueW", .error = 5});
  EXPECT_FALSE(Write(L"x"));
  EXPECT_THAT(Stored(), Optional(std::wstring(L"before")));
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(
                  L"SetRegistryString: Failed to set the registry value of key Name under subkey " +
                  kKey + L". Error code: 5")));
  ExpectThatKeysWereClosed();
}

class ConfigurationFolder : public Registry {
 protected:
  void SetUp() override {
    machine_.RemoveVariable(L"OSTREL_CFG_DIR");
    machine_.SetRegistryString(kHive + kKey, L"OSTREL_COMMONAPPDATA", L"C:\\Program data \u00e4\\");
  }

  std::wstring path_ = L"before";
};

TEST_F(ConfigurationFolder, IsWhatTheSystemsVariableNames) {
  machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"C:\\cfg \u00e4");
  EXPECT_TRUE(GetPdtConfigDirPath(path_));
  EXPECT_EQ(path_, L"C:\\cfg \u00e4");
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(
                  L"GetPdtConfigDirPath: ENV_OSTREL_CFG_DIR directory path is C:\\cfg \u00e4")));
}

TEST_F(ConfigurationFolder, ComesFromTheRegistryWithoutTheVariable) {
  EXPECT_TRUE(GetPdtConfigDirPath(path_));
  EXPECT_EQ(path_, L"C:\\Program data \u00e4\\KelvaneServer\\cfg");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          WarningLine(L"GetPdtConfigDirPath: %OSTREL_CFG_DIR% environment variable expanded to "
                      L"[%OSTREL_CFG_DIR%]"),
          InfoLine(L"GetPdtConfigDirPath: Product Config path from registry is "
                   L"C:\\Program data \u00e4\\KelvaneServer\\cfg")));
}

TEST_F(ConfigurationFolder, ComesFromTheRegistryWhenTheVariableIsEmpty) {
  machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"");
  EXPECT_TRUE(GetPdtConfigDirPath(path_));
  EXPECT_EQ(path_, L"C:\\Program data \u00e4\\KelvaneServer\\cfg");
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(
                  L"GetPdtConfigDirPath: %OSTREL_CFG_DIR% environment variable expanded to []")));
}

TEST_F(ConfigurationFolder, IsNotWhatAVariableOfTheProcessNames) {
  machine_.SetVariable(L"OSTREL_CFG_DIR", L"C:\\elsewhere");
  EXPECT_TRUE(GetPdtConfigDirPath(path_));
  EXPECT_EQ(path_, L"C:\\Program data \u00e4\\KelvaneServer\\cfg");
}

TEST_F(ConfigurationFolder, ComesFromTheRegistryWhenTheVariableIsTooLong) {
  machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"C:\\" + std::wstring(260, L'x'));
  EXPECT_TRUE(GetPdtConfigDirPath(path_));
  EXPECT_EQ(path_, L"C:\\Program data \u00e4\\KelvaneServer\\cfg");
  // The code stands in the first place of the text, whose further places get nothing.
  EXPECT_THAT(OwnLog(), Contains(WarningLine(
                            L"GetPdtConfigDirPath: Failed to expand environment variable 122, "
                            L"Error:[%d]%OSTREL_CFG_DIR%")));
}

TEST_F(ConfigurationFolder, NeedsNoTrailingBackslashInTheRegistry) {
  machine_.SetRegistryString(kHive + kKey, L"OSTREL_COMMONAPPDATA", L"C:\\Data");
  EXPECT_TRUE(GetPdtConfigDirPath(path_));
  EXPECT_EQ(path_, L"C:\\Data\\KelvaneServer\\cfg");
}

TEST_F(ConfigurationFolder, IsAnErrorWhenNothingNamesIt) {
  machine_.RemoveRegistryValue(kHive + kKey, L"OSTREL_COMMONAPPDATA");
  EXPECT_FALSE(GetPdtConfigDirPath(path_));
  EXPECT_EQ(path_, L"before");
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(
                  L"GetPdtConfigDirPath: Failed to get the Product Config directory path.")));
}

class InstallParameters : public ConfigurationFolder {
 protected:
  void SetUp() override {
    ConfigurationFolder::SetUp();
    machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"C:\\cfg \u00e4");
  }

  const std::wstring folder_ = L"C:\\cfg \u00e4\\install-defaults\\";
};

TEST_F(InstallParameters, LieInAFolderOfTheConfiguration) {
  EXPECT_TRUE(GetInstallDefaultsDirPath(path_));
  EXPECT_EQ(path_, folder_);
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"GetInstallDefaultsDirPath: install-defaults directory path is " +
                                folder_)));
}

TEST_F(InstallParameters, HaveNoFolderWithoutAConfiguration) {
  machine_.RemoveVariable(L"OSTREL_CFG_DIR");
  machine_.RemoveRegistryKey(kHive + kKey);
  EXPECT_FALSE(GetInstallDefaultsDirPath(path_));
  EXPECT_EQ(path_, L"before");
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(
          L"GetInstallDefaultsDirPath: Failed to get the install-defaults directory path.")));
}

TEST_F(InstallParameters, AreTheFirstLineOfTheirFile) {
  machine_.WriteFile(folder_ + L"ostreldir.domain-name", "ostrel.local\nsecond\nthird\n");
  EXPECT_EQ(GetInstallParameter(L"ostreldir.domain-name"), L"ostrel.local");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"GetInstallParameter: Retrieving the data for ostreldir.domain-name"),
          InfoLine(L"GetPdtConfigDirPath: ENV_OSTREL_CFG_DIR directory path is C:\\cfg \u00e4"),
          InfoLine(L"GetInstallDefaultsDirPath: install-defaults directory path is " + folder_),
          InfoLine(L"GetFileContents: Contents from [" + folder_ +
                   L"ostreldir.domain-name] file is [ostrel.local]"),
          InfoLine(L"GetInstallParameter: PropertyName=[ostreldir.domain-name] : "
                   L"Value=[ostrel.local]")));
}

TEST_F(InstallParameters, AreReadAsUtf8AndNotTrimmed) {
  machine_.WriteFile(folder_ + L"name", " \xC3\xA4 \n");
  EXPECT_EQ(GetInstallParameter(L"name"), L" \u00e4 ");
}

TEST_F(InstallParameters, AreEmptyWithoutAFile) {
  EXPECT_EQ(GetInstallParameter(L"name"), L"");
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"GetFileContents: Failed to open file: " + folder_ + L"name")));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"GetInstallParameter: PropertyName=[name] : Value=[]")));
}

TEST_F(InstallParameters, AreEmptyWithoutAFolder) {
  machine_.RemoveVariable(L"OSTREL_CFG_DIR");
  machine_.RemoveRegistryKey(kHive + kKey);
  EXPECT_EQ(GetInstallParameter(L"name"), L"");
  EXPECT_THAT(OwnLog(), Not(Contains(Field(&LogLine::message, StartsWith(L"GetFileContents")))));
}

class Installer : public Registry {
 protected:
  static std::wstring Version() {
    return GetInstallPropertyFromUpgradeCode(kUpgradeCode, L"VersionString");
  }
};

TEST_F(Installer, NamesTheProductOfAnUpgradeCode) {
  machine_.AddProduct(kUpgradeCode, L"5.5.0.1");
  const std::wstring productCode = GetProductCodeFromUpgradeCode(kUpgradeCode);
  EXPECT_EQ(productCode.size(), 38u);
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"GetProductCodeFromUpgradeCode: Product " + productCode +
                                   L" installed with UpgradeCode " + kUpgradeCode)));
}

TEST_F(Installer, NamesNoProductWhereNoneIsInstalled) {
  EXPECT_EQ(GetProductCodeFromUpgradeCode(kUpgradeCode), L"");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"GetProductCodeFromUpgradeCode: No products found for UpgradeCode " +
                           kUpgradeCode)));
}

TEST_F(Installer, NamesNoProductWhenItIsBroken) {
  machine_.AddProduct(kUpgradeCode, L"5.5.0.1");
  machine_.PlanFault({.function = "MsiEnumRelatedProductsW", .error = 1610});
  EXPECT_EQ(GetProductCodeFromUpgradeCode(kUpgradeCode), L"");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"GetProductCodeFromUpgradeCode: No products found for UpgradeCode " +
                           kUpgradeCode)));
}

TEST_F(Installer, GivesAProperty) {
  machine_.AddProduct(kUpgradeCode, L"5.5.0.2001466");
  EXPECT_EQ(Version(), L"5.5.0.2001466");
}

TEST_F(Installer, GivesThePropertyOfTheFirstOfSeveralProducts) {
  machine_.AddProduct(kUpgradeCode, L"5.5.0.1");
  machine_.AddProduct(kUpgradeCode, L"6.0.0.2");
  EXPECT_EQ(Version(), L"5.5.0.1");
}

TEST_F(Installer, GivesNothingWithoutAProduct) {
  EXPECT_EQ(Version(), L"");
  EXPECT_EQ(OwnLog().size(), 1u);
}

TEST_F(Installer, TellsThatAPropertyIsUnknown) {
  machine_.AddProduct(kUpgradeCode, L"5.5.0.1");
  EXPECT_EQ(GetInstallPropertyFromUpgradeCode(kUpgradeCode, L"NoSuchProperty"), L"");
  EXPECT_THAT(
      OwnLog(),
      Contains(testing::AllOf(
          Field(&LogLine::level, 'E'),
          Field(&LogLine::message,
                L"GetInstallPropertyFromUpgradeCode: Failed to get size of the install parameter. "
                L"Error code: 1608 0"))));
}

TEST_F(Installer, TakesAnEmptyPropertyForAFailure) {
  machine_.AddProduct(kUpgradeCode, L"");
  EXPECT_EQ(Version(), L"");
  EXPECT_THAT(OwnLog(), Contains(Field(&LogLine::message,
                                       L"GetInstallPropertyFromUpgradeCode: Failed to get size of "
                                       L"the install parameter. Error code: 234 0")));
}

TEST_F(Installer, TellsThatAPropertyCannotBeReadAfterAll) {
  machine_.AddProduct(kUpgradeCode, L"5.5.0.1");
  machine_.PlanFault({.function = "MsiGetProductInfoW", .call = 2, .error = 1610});
  EXPECT_EQ(Version(), L"");
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(
          L"GetInstallPropertyFromUpgradeCode: Failed to retrieve the install parameter.")));
}

TEST_F(Installer, TellsThatThereIsNoMemoryForAProperty) {
  machine_.AddProduct(kUpgradeCode, L"5.5.0.1");
  {
    const Testing::FailingAllocation failing;
    EXPECT_EQ(Version(), L"");
  }
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"GetInstallPropertyFromUpgradeCode: Failed to allocate memory to retrieve the install parameter.")));
}

}  // namespace
}  // namespace Halvard::Host
