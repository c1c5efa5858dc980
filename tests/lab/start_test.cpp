#include "machine/start.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "machine/machine.h"
#include "support/file_bytes.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class StartedMachine : public testing::Test {
 protected:
  StartedMachine() {
    std::string folder = testing::TempDir() + "start \xC3\xA9-XXXXXX";
    folder_ = mkdtemp(folder.data());
    // A small world of machines: the plain server, copied, for others to build on.
    Write("server/machine.json", FileBytes(MachineFolder("windows-server") / "machine.json"));
    Write("server/registry.reg", Reg("[HKEY_LOCAL_MACHINE\\A]\n\"x\"=\"1\"\n\"y\"=\"2\"\n"));
    Write("server/drive_c/a/one.txt", "server");
    Write("server/drive_c/a/two.txt", "server");
  }
  ~StartedMachine() override { fs::remove_all(folder_); }

  static std::string Reg(const std::string& entries) {
    return "Windows Registry Editor Version 5.00\n" + entries;
  }
  void Write(const fs::path& file, const std::string& text) {
    fs::create_directories((folder_ / file).parent_path());
    std::ofstream(folder_ / file) << text;
  }
  std::string Fault(const std::string& machine) {
    try {
      DescribedMachine(folder_ / machine).Start(folder_ / "instance");
    } catch (const MachineError& fault) {
      return fault.what();
    }
    return {};
  }

  fs::path folder_;
};

TEST_F(StartedMachine, IsItsDescriptionLaidOverThatOfItsBase) {
  Write("mine/machine.json",
        R"({"base": "server", "computer": {"uiLanguage": 1031}, "ports": null})");
  Write("mine/registry.reg", Reg("[HKEY_LOCAL_MACHINE\\A]\n\"x\"=-\n\"z\"=\"3\"\n"));
  Write("mine/drive_c/a/two.txt", "mine");
  Write("mine/drive_e/data", "e");
  DescribedMachine(folder_ / "mine").Start(folder_ / "instance");

  Machine machine(folder_ / "instance");
  EXPECT_EQ(machine.Describe().computerName, L"KVSOURCE");
  EXPECT_EQ(machine.Describe().uiLanguage, 1031);
  EXPECT_TRUE(machine.Describe().tcp.empty());
  EXPECT_FALSE(machine.Registry().Find(L"HKEY_LOCAL_MACHINE\\A", L"x"));
  EXPECT_TRUE(machine.Registry().Find(L"HKEY_LOCAL_MACHINE\\A", L"y"));
  EXPECT_TRUE(machine.Registry().Find(L"HKEY_LOCAL_MACHINE\\A", L"z"));
  EXPECT_EQ(FileBytes(folder_ / "instance/drive_c/a/one.txt"), "server");
  EXPECT_EQ(FileBytes(folder_ / "instance/drive_c/a/two.txt"), "mine");
  EXPECT_EQ(FileBytes(folder_ / "instance/drive_e/data"), "e");
  EXPECT_TRUE(fs::is_directory(folder_ / "instance/drive_c/Windows/TEMP"));
}

TEST_F(StartedMachine, HasThePackagesOfTheBuildBesideItsProgram) {
  Write("mine/machine.json", R"({"base": "server", "program": {"path": "C:\\x\\y\\agent.exe"}})");
  DescribedMachine(folder_ / "mine").Start(folder_ / "instance");
  EXPECT_TRUE(fs::exists(folder_ / "instance/drive_c/x/y/Ostrel-python.msi"));
  EXPECT_TRUE(fs::exists(folder_ / "instance/drive_c/x/y/rimsa-upgrade-runner.msi"));
}

TEST_F(StartedMachine, PackagesHaveToBeSomeThatTheBuildMakes) {
  Write("mine/machine.json", R"({"base": "server", "program": {"packages": ["none.msi"]}})");
  const std::string fault = Fault("mine");
  EXPECT_THAT(fault, HasSubstr("/program/packages: expected packages that the build"));
  EXPECT_THAT(fault, HasSubstr("none.msi"));
}

TEST_F(StartedMachine, MayBeNamedByItsFile) {
  DescribedMachine(folder_ / "server" / "machine.json").Start(folder_ / "instance");
  EXPECT_TRUE(fs::exists(folder_ / "instance" / "registry.reg"));
}

TEST_F(StartedMachine, FolderHasToBeEmpty) {
  fs::create_directory(folder_ / "instance");
  EXPECT_EQ(Fault("server"), "");
  EXPECT_THAT(Fault("server"), HasSubstr("expected a folder that is empty"));
}

TEST_F(StartedMachine, BaseHasToBeThere) {
  Write("mine/machine.json", R"({"base": "nobody"})");
  EXPECT_THAT(Fault("mine"), HasSubstr("mine/machine.json: /base: expected the name of a machine"));
  Write("mine/machine.json", R"({"base": 1})");
  EXPECT_THAT(Fault("mine"), HasSubstr("/base: expected the name of a machine"));
}

TEST_F(StartedMachine, BasesThatLeadInACircleAreAFault) {
  Write("one/machine.json", R"({"base": "two"})");
  Write("two/machine.json", R"({"base": "one"})");
  EXPECT_THAT(Fault("one"), HasSubstr("/base: expected a base that doesn't lead back here"));
}

TEST_F(StartedMachine, FaultIsToldOfTheFileThatHasIt) {
  Write("server/machine.json", R"({"summary": ""})");
  Write("mine/machine.json", R"({"base": "server"})");
  EXPECT_THAT(Fault("mine"), HasSubstr("server/machine.json: /"));
}

TEST_F(StartedMachine, FaultOfTheRegistryNamesFileAndLine) {
  Write("server/registry.reg", Reg("[HKEY_LOCAL_MACHINE\\A]\nx\n"));
  EXPECT_THAT(Fault("server"), HasSubstr("server/registry.reg: line 3: expected"));
}

TEST(LabMachines, AllAreWellDescribed) {
  const std::vector<std::string> names = MachineNames();
  EXPECT_GE(names.size(), 12u);
  for (const std::string& name : names) {
    EXPECT_NO_THROW(DescribedMachine{MachineFolder(name)}) << name;
  }
}

TEST(Machine, FolderWithoutAnInstanceIsAFault) {
  EXPECT_THROW(Machine(testing::TempDir() + "no such folder"), MachineError);
  // A described machine isn't an instance until it's started.
  EXPECT_THROW(Machine(MachineFolder("windows-server")), MachineError);
}

}  // namespace
}  // namespace Lab
