#include "host/file_version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/logging.h"
#include "failing_allocation.h"
#include "host/windows_api.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Host {
namespace {

using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::FailingAllocation;
using Testing::InfoLine;
using Testing::LogLine;
using Testing::OwnLog;

constexpr wchar_t kFile[] = L"C:\\Program files\\\u8A66\u9A13.dll";

class FileVersionTest : public ::testing::Test {
 protected:
  FileVersionTest() {
    machine_.Set("/fileVersions/C:\\Program files\\\xE8\xA9\xA6\xE9\xA8\x93.dll", "6.1.7601.65535");
  }

  void Refuse(const char* function) {
    machine_.PlanFault({.function = function, .call = 0, .match = {}, .error = 1813});
  }
  void ExpectFailure(const LogLine& line) {
    EXPECT_FALSE(GetFileVersion(kFile, version_));
    EXPECT_EQ(version_.major, 99);
    EXPECT_THAT(OwnLog(), ElementsAre(line));
  }
  static LogLine Error(const std::wstring& begin, const std::wstring& end) {
    return ErrorLine(begin + kFile + end);
  }

  Lab::Instance machine_;
  FileVersion version_{99, 99, 99, 99};
};

TEST_F(FileVersionTest, HasFourParts) {
  const LogScope log;
  EXPECT_TRUE(GetFileVersion(kFile, version_));
  EXPECT_EQ(version_.major, 6);
  EXPECT_EQ(version_.minor, 1);
  EXPECT_EQ(version_.build, 7601);
  EXPECT_EQ(version_.revision, 65535);
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"GetFileVersion: File " + std::wstring(kFile) +
                                             L" has file ver 6.1.7601.65535")));
}

TEST_F(FileVersionTest, AbsentFileHasNone) {
  const LogScope log;
  EXPECT_FALSE(GetFileVersion(L"C:\\Windows\\absent.dll", version_));
  EXPECT_FALSE(GetFileVersion(L"C:\\absent\\absent.dll", version_));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"GetFileVersion: Failed to get info size of C:\\Windows\\absent.dll: 2"),
          ErrorLine(L"GetFileVersion: Failed to get info size of C:\\absent\\absent.dll: 3")));
}

TEST_F(FileVersionTest, FileWithoutAResourceHasNone) {
  machine_.WriteFile(L"C:\\Windows\\plain.txt", "text");
  const LogScope log;
  EXPECT_FALSE(GetFileVersion(L"C:\\Windows\\plain.txt", version_));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(
                            L"GetFileVersion: Failed to get info size of C:\\Windows\\plain.txt: "
                            L"1812")));
}

TEST_F(FileVersionTest, NeedsMemory) {
  const LogScope log;
  const FailingAllocation failing;
  ExpectFailure(Error(L"GetFileVersion: Failed to alloc memory for info on file ", L""));
}

TEST_F(FileVersionTest, NeedsTheResource) {
  Refuse("GetFileVersionInfoW");
  const LogScope log;
  ExpectFailure(Error(L"GetFileVersion: Failed to get info of ", L": 1813"));
}

TEST_F(FileVersionTest, NeedsTheFixedBlock) {
  Refuse("VerQueryValueW");
  const LogScope log;
  ExpectFailure(Error(L"GetFileVersion: Failed to get fixed file info for ", L": 1813"));
}

TEST_F(FileVersionTest, NeedsTheSignature) {
  machine_.Set("/fileVersions/C:\\Program files\\\xE8\xA9\xA6\xE9\xA8\x93.dll", "damaged");
  const LogScope log;
  ExpectFailure(Error(L"GetFileVersion: Got bad fixed file info sig from ", L": 0xdeadbeef"));
}

class SystemFileVersionTest : public FileVersionTest {};

TEST_F(SystemFileVersionTest, IsThatOfAFileInTheSystemFolder) {
  machine_.Set("/fileVersions/C:\\Windows\\system32\\dnsapi.dll", "6.2.9200.16384");
  EXPECT_TRUE(GetSystemFileVersion(L"dnsapi.dll", version_));
  EXPECT_EQ(version_.minor, 2);
}

TEST_F(SystemFileVersionTest, NeedsTheSystemFolder) {
  machine_.Remove("/knownFolders/System");
  SetLastError(7);
  const LogScope log;
  EXPECT_FALSE(GetSystemFileVersion(L"dnsapi.dll", version_));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetSystemFileVersion: Failed to get system path: "
                                              L"-2147024894 7")));
}

TEST_F(SystemFileVersionTest, NeedsTheFile) {
  const LogScope log;
  EXPECT_FALSE(GetSystemFileVersion(L"absent.dll", version_));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(L"GetFileVersion: Failed to get info size of "
                            L"C:\\Windows\\system32\\absent.dll: 2"),
                  ErrorLine(L"GetSystemFileVersion: Failed to get file version of absent.dll")));
}

}  // namespace
}  // namespace Halvard::Host
