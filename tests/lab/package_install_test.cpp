// Unpacking real installer packages on a machine of the lab.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "host/windows_api.h"
#include "installer/package.h"
#include "support/file_bytes.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Optional;

constexpr wchar_t kPython[] = L"C:\\Halvard\\Ostrel-python.msi";
constexpr wchar_t kRunner[] = L"C:\\Halvard\\rimsa-upgrade-runner.msi";
const std::wstring kTarget = L"C:\\Ziel \u00e4\u8a66 \U0001D4BD\\image";
constexpr wchar_t kInterpreter[] = L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe";
constexpr wchar_t kScripts[] = L"\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\";

std::wstring ImageAt(const std::wstring& target) {
  return L"ACTION=ADMIN TARGETDIR=\"" + target + L"\"";
}

class PackageInstall : public testing::Test {
 protected:
  PackageInstall() { MsiSetInternalUI(INSTALLUILEVEL_NONE, nullptr); }

  UINT Unpack(const std::wstring& package, const std::wstring& target = kTarget) {
    return MsiInstallProductW(package.c_str(), ImageAt(target).c_str());
  }

  /// Changes the tables of a package.
  void Change(const std::wstring& package, const std::string& query) {
    CallError error;
    const ObjectOwner<LibmsiDatabase> database(libmsi_database_new(
        machine_.HostPath(package).c_str(), LIBMSI_DB_FLAGS_TRANSACT, nullptr, error));
    ASSERT_TRUE(database) << error.Text();
    const ObjectOwner<LibmsiQuery> change(libmsi_query_new(database.get(), query.c_str(), error));
    ASSERT_TRUE(change) << error.Text();
    ASSERT_TRUE(libmsi_query_execute(change.get(), nullptr, error)) << error.Text();
    ASSERT_TRUE(libmsi_database_commit(database.get(), error)) << error.Text();
  }

  bool InTarget(const std::wstring& path) const { return machine_.FileExists(kTarget + path); }
  std::string Complaints() const { return FileBytes(machine_.Folder() / "run" / "installer.log"); }

  Instance machine_;
};

TEST_F(PackageInstall, MakesTheTreeOfThePackage) {
  EXPECT_EQ(Unpack(kRunner), UINT{ERROR_SUCCESS});
  EXPECT_THAT(machine_.ListFolder(kTarget), ElementsAre(L"PFiles", L"rimsa-upgrade-runner.msi"));
  for (const auto& entry : fs::directory_iterator(RUNNER_SCRIPTS)) {
    if (entry.path().extension() != ".py") continue;
    EXPECT_THAT(machine_.ReadFile(kTarget + kScripts + entry.path().filename().wstring()),
                Optional(FileBytes(entry.path())));
  }
}

TEST_F(PackageInstall, LeavesAPackageOfAnImageBehind) {
  ASSERT_EQ(Unpack(kRunner), UINT{ERROR_SUCCESS});
  const std::wstring copy = kTarget + L"\\rimsa-upgrade-runner.msi";
  EXPECT_THAT(machine_.ReadFile(kRunner), Optional(HasSubstr("MSCF")));
  EXPECT_THAT(machine_.ReadFile(copy), Optional(Not(HasSubstr("MSCF"))));
  CallError error;
  const ObjectOwner<LibmsiDatabase> database(libmsi_database_new(
      machine_.HostPath(copy).c_str(), LIBMSI_DB_FLAGS_READONLY, nullptr, error));
  ASSERT_TRUE(database) << error.Text();
  const ObjectOwner<LibmsiSummaryInfo> summary(libmsi_summary_info_new(database.get(), 0, error));
  // An image, and not compressed.
  EXPECT_EQ(libmsi_summary_info_get_int(summary.get(), LIBMSI_PROPERTY_SOURCE, error), 4);
}

TEST_F(PackageInstall, SecondPackageMergesIntoTheSameFolder) {
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
  EXPECT_EQ(Unpack(kRunner), UINT{ERROR_SUCCESS});
  EXPECT_THAT(machine_.ListFolder(kTarget),
              ElementsAre(L"Ostrel-python.msi", L"PFiles", L"rimsa-upgrade-runner.msi"));
  EXPECT_TRUE(InTarget(kInterpreter));
  EXPECT_TRUE(InTarget(std::wstring(kScripts) + L"UpgradeRunner.py"));
}

TEST_F(PackageInstall, NamesOfWhatIsThereCompareWithoutCase) {
  machine_.WriteFile(kTarget + L"\\pfiles\\OSTREL\\rimsa\\Python\\PYTHON.EXE", "old");
  machine_.WriteFile(kTarget + L"\\pfiles\\other", "stays");
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
  EXPECT_THAT(machine_.ListFolder(kTarget), ElementsAre(L"Ostrel-python.msi", L"pfiles"));
  EXPECT_THAT(machine_.ReadFile(kTarget + kInterpreter), Optional(Not(std::string("old"))));
  EXPECT_TRUE(InTarget(L"\\pfiles\\other"));
}

TEST_F(PackageInstall, TargetMayEndInABackslash) {
  EXPECT_EQ(Unpack(kPython, kTarget + L"\\"), UINT{ERROR_SUCCESS});
  EXPECT_TRUE(InTarget(kInterpreter));
}

TEST_F(PackageInstall, PackageHasToBeThere) {
  EXPECT_EQ(Unpack(L"C:\\Halvard\\none.msi"), UINT{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Unpack(L"C:\\none\\none.msi"), UINT{ERROR_FILE_NOT_FOUND});
  EXPECT_FALSE(machine_.FileExists(kTarget));
}

TEST_F(PackageInstall, PackageHasToBeOpenable) {
  constexpr UINT kCannotOpen = ERROR_INSTALL_PACKAGE_OPEN_FAILED;
  EXPECT_EQ(Unpack(L"C:\\Halvard"), kCannotOpen);
  EXPECT_EQ(Unpack(L"C:/Halvard/Ostrel-python.msi"), kCannotOpen);
  EXPECT_EQ(Unpack(L"C:\\Halvard\\a|b.msi"), kCannotOpen);
  const HANDLE held =
      CreateFileW(kPython, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_EQ(Unpack(kPython), kCannotOpen);
  CloseHandle(held);
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
}

TEST_F(PackageInstall, FileThatIsNoPackageIsTold) {
  for (const std::string& bytes : {std::string(), std::string("MZ"), std::string(20'000, '\0')}) {
    machine_.WriteFile(kPython, bytes);
    EXPECT_EQ(Unpack(kPython), UINT{ERROR_INSTALL_PACKAGE_INVALID}) << bytes.size();
  }
  EXPECT_FALSE(machine_.FileExists(kTarget));
}

TEST_F(PackageInstall, PackageCutAnywhereNeverSeemsWhole) {
  const std::string whole = machine_.ReadFile(kPython).value();
  for (std::size_t length = 0; length < whole.size(); length += 499) {
    machine_.WriteFile(kPython, whole.substr(0, length));
    const UINT code = Unpack(kPython);
    EXPECT_THAT(code, testing::AnyOf(ERROR_INSTALL_PACKAGE_INVALID, ERROR_INSTALL_FAILURE))
        << length;
  }
}

TEST_F(PackageInstall, DamagedCabinetIsFatal) {
  std::string bytes = machine_.ReadFile(kRunner).value();
  const std::size_t cabinet = bytes.find("MSCF");
  ASSERT_NE(cabinet, std::string::npos);
  bytes.replace(cabinet + 2'000, 200, 200, '\xA5');
  machine_.WriteFile(kRunner, bytes);
  EXPECT_EQ(Unpack(kRunner), UINT{ERROR_INSTALL_FAILURE});
  EXPECT_THAT(Complaints(), HasSubstr("a cabinet can't be unpacked"));
}

TEST_F(PackageInstall, MissingCabinetIsFatal) {
  Change(kPython, "DELETE FROM `_Streams` WHERE `Name` = 'python.cab'");
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_INSTALL_FAILURE});
  EXPECT_THAT(Complaints(), HasSubstr("no stream python.cab"));
}

TEST_F(PackageInstall, MalformedPropertiesAreTold) {
  for (const wchar_t* properties :
       {L"ACTION", L"=ADMIN", L"ACTION=ADMIN TARGETDIR=\"C:\\x", L"ACTION=ADMIN TARGETDIR",
        L"ACTION=ADMIN \"TARGETDIR\"=C:\\x", L"A B=C"}) {
    EXPECT_EQ(MsiInstallProductW(kPython, properties), UINT{ERROR_INVALID_COMMAND_LINE})
        << properties;
  }
  EXPECT_FALSE(machine_.FileExists(L"C:\\x"));
}

TEST_F(PackageInstall, PropertiesMayBeSpacedAndQuotedAsTheInstallerHasIt) {
  EXPECT_EQ(MsiInstallProductW(kPython, L"  TARGETDIR=C:\\x\t ACTION=\"ADMIN\" "),
            UINT{ERROR_SUCCESS});
  EXPECT_TRUE(machine_.FileExists(std::wstring(L"C:\\x") + kInterpreter));
}

using PackageInstallDeathTest = PackageInstall;

TEST_F(PackageInstallDeathTest, WhatTheLabCannotDoIsRefusedAloud) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const wchar_t* properties :
       {L"", L"ACTION=INSTALL TARGETDIR=C:\\x", L"ACTION=ADMIN", L"TARGETDIR=C:\\x",
        L"ACTION=ADMIN TARGETDIR=x", L"ACTION=ADMIN TARGETDIR=C:\\x REBOOT=Force"}) {
    EXPECT_DEATH(MsiInstallProductW(kPython, properties), "MsiInstallProductW is supported only");
  }
  HWND window = nullptr;
  EXPECT_DEATH(MsiSetInternalUI(INSTALLUILEVEL_NONE, &window), "supported only");
}

TEST_F(PackageInstallDeathTest, WindowsAreRefusedAloud) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  MsiSetInternalUI(INSTALLUILEVEL_DEFAULT, nullptr);
  EXPECT_DEATH(Unpack(kPython), "supported only");
}

TEST_F(PackageInstallDeathTest, FilesOutsideOfThePackageAreRefusedAloud) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Change(kPython, "UPDATE `Media` SET `Cabinet` = 'python.cab'");
  EXPECT_DEATH(Unpack(kPython), "run/installer.log");
}

TEST_F(PackageInstall, OneInstallationAtATime) {
  machine_.Set("/installer/busy", true);
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_INSTALL_ALREADY_RUNNING});
  EXPECT_FALSE(machine_.FileExists(kTarget));
  machine_.Set("/installer/busy", false);
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});

  // Another program of the machine has its turn.
  const int other = open((machine_.Folder() / "run" / "installer").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_INSTALL_ALREADY_RUNNING});
  close(other);
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
}

TEST_F(PackageInstall, NothingIsUnpackedWithoutRoomForAll) {
  const std::uint64_t needed = machine_.ReadFile(kPython)->size() + FileBytes(INTERPRETER).size();
  machine_.Set("/disks/C/free", Json::UInt64{needed - 1});
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_INSTALL_FAILURE});
  EXPECT_FALSE(machine_.FileExists(kTarget));
  machine_.Set("/disks/C/free", Json::UInt64{needed});
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
}

TEST_F(PackageInstall, RoomIsThatOfTheTargetsDisk) {
  machine_.Set("/disks/D/free", 0);
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
}

TEST_F(PackageInstall, TargetThatCannotBeAFolderIsFatal) {
  constexpr UINT kFatal = ERROR_INSTALL_FAILURE;
  machine_.WriteFile(L"C:\\file", "x");
  EXPECT_EQ(Unpack(kPython, L"C:\\file"), kFatal);
  EXPECT_EQ(Unpack(kPython, L"C:\\file\\below"), kFatal);
  EXPECT_EQ(Unpack(kPython, L"Q:\\none"), kFatal);
  EXPECT_EQ(Unpack(kPython, L"C:\\none\\a?b\\c"), kFatal);
  EXPECT_THAT(machine_.ReadFile(L"C:\\file"), Optional(std::string("x")));
}

TEST_F(PackageInstall, FeaturesOfLevelNullAreLeftOut) {
  Change(kPython, "UPDATE `Feature` SET `Level` = 0");
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
  EXPECT_THAT(machine_.ListFolder(kTarget), ElementsAre(L"Ostrel-python.msi"));
}

struct FolderName {
  const char* described;
  const wchar_t* made;
};

class FolderNames : public PackageInstall, public testing::WithParamInterface<FolderName> {};

TEST_P(FolderNames, AreTheLongOnesOfTheSourceSide) {
  Change(kPython, std::string("UPDATE `Directory` SET `DefaultDir` = '") + GetParam().described +
                      "' WHERE `Directory` = 'Rimsa'");
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
  EXPECT_TRUE(
      InTarget(std::wstring(L"\\PFiles\\Ostrel") + GetParam().made + L"\\python\\python.exe"));
}

INSTANTIATE_TEST_SUITE_P(Forms, FolderNames,
                         testing::Values(FolderName{"Rimsa", L"\\Rimsa"},
                                         FolderName{"RIMSA~1|Rimsa home", L"\\Rimsa home"},
                                         FolderName{"target:source", L"\\source"},
                                         FolderName{"T|target:S|source", L"\\source"},
                                         FolderName{"target:.", L""}, FolderName{".", L""}));

class NamesThatLeadOut : public PackageInstall, public testing::WithParamInterface<const char*> {};

TEST_P(NamesThatLeadOut, AreFatal) {
  Change(kPython, std::string("UPDATE `Directory` SET `DefaultDir` = '") + GetParam() +
                      "' WHERE `Directory` = 'Rimsa'");
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_INSTALL_FAILURE});
  EXPECT_FALSE(machine_.FileExists(kTarget));
}

INSTANTIATE_TEST_SUITE_P(Forms, NamesThatLeadOut,
                         testing::Values("..", "x|..", "a/b", "a\\\\b", "x:y:z", "x|"));

TEST_F(PackageInstall, FolderWithoutAWayToTheRootIsFatal) {
  Change(kPython,
         "UPDATE `Directory` SET `Directory_Parent` = 'Python' WHERE `Directory` = 'Rimsa'");
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_INSTALL_FAILURE});
}

TEST_F(PackageInstall, StepsOfThePackageDecide) {
  Change(kPython, "DELETE FROM `AdminExecuteSequence` WHERE `Action` = 'InstallFiles'");
  EXPECT_EQ(Unpack(kPython), UINT{ERROR_SUCCESS});
  EXPECT_THAT(machine_.ListFolder(kTarget), ElementsAre(L"Ostrel-python.msi"));
  Change(kRunner, "DELETE FROM `AdminExecuteSequence` WHERE `Action` = 'InstallAdminPackage'");
  EXPECT_EQ(Unpack(kRunner), UINT{ERROR_SUCCESS});
  EXPECT_THAT(machine_.ListFolder(kTarget), ElementsAre(L"Ostrel-python.msi", L"PFiles"));
}

TEST_F(PackageInstall, FailsAsPlanned) {
  machine_.PlanFault({.function = "MsiInstallProductW", .match = L"python", .error = 1602});
  EXPECT_EQ(Unpack(kPython), 1602u);
  EXPECT_EQ(Unpack(kRunner), UINT{ERROR_SUCCESS});
}

TEST_F(PackageInstall, BuiltPackagesHaveTheStepsAndNamesThatWindowsWants) {
  for (const wchar_t* file : {kPython, kRunner}) {
    const Package package(machine_.HostPath(file), Package::Mode::kRead);
    EXPECT_THAT(
        package.Rows("AdminExecuteSequence", {"Action", "Sequence"}),
        testing::UnorderedElementsAre(
            ElementsAre("CostInitialize", "800"), ElementsAre("FileCost", "900"),
            ElementsAre("CostFinalize", "1000"), ElementsAre("InstallValidate", "1400"),
            ElementsAre("InstallInitialize", "1500"), ElementsAre("InstallAdminPackage", "3900"),
            ElementsAre("InstallFiles", "4000"), ElementsAre("InstallFinalize", "6600")));
    EXPECT_THAT(package.Rows("Directory", {"Directory", "DefaultDir"}),
                testing::Contains(ElementsAre("ProgramFilesFolder", "PFiles")));
  }
}

}  // namespace
}  // namespace Lab
