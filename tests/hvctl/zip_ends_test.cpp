#include "zip_ends.h"

#include <fstream>

#include <gtest/gtest.h>

#include "temp_file.h"

namespace Hvctl {
namespace {

constexpr char kCut[] = "it stops early, or isn't a zip file";

std::string Number(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i) & 0xFF);
  return bytes;
}

/// What stands for the files and their directory: nothing looks into either.
const std::string kFiles = "PK\3\4 some files";
const std::string kDirectory = "PK\1\2 their entries";

std::string End(std::uint64_t size, std::uint64_t offset, const std::string& comment = {}) {
  return "PK\5\6" + std::string(8, '\0') + Number(size, 4) + Number(offset, 4) +
         Number(comment.size(), 2) + comment;
}

std::string Zip(const std::string& comment = {}) {
  return kFiles + kDirectory + End(kDirectory.size(), kFiles.size(), comment);
}

std::string Zip64() {
  const std::uint64_t at = kFiles.size() + kDirectory.size();
  return kFiles + kDirectory + "PK\6\6" + std::string(36, '\0') + Number(kDirectory.size(), 8) +
         Number(kFiles.size(), 8) + "PK\6\7" + std::string(4, '\0') + Number(at, 8) +
         std::string(4, '\0') + End(0xFFFFFFFF, 0xFFFFFFFF);
}

class ZipProblemTest : public testing::Test {
 protected:
  ~ZipProblemTest() override { std::filesystem::remove(file_); }

  std::string ProblemOf(const std::string& bytes) {
    std::ofstream(file_, std::ios::binary) << bytes;
    return ZipProblem(file_);
  }

  const std::filesystem::path file_ = TempFile();
};

TEST_F(ZipProblemTest, WholeFilesAreTakenInEachForm) {
  EXPECT_EQ(ProblemOf(Zip()), "");
  EXPECT_EQ(ProblemOf(Zip("a comment with PK\5\6 in it, and some more behind that")), "");
  EXPECT_EQ(ProblemOf(Zip64()), "");
}

TEST_F(ZipProblemTest, EachCutIsFound) {
  for (const std::string& zip : {Zip(), Zip("comment"), Zip64()}) {
    for (std::size_t length = 0; length < zip.size(); ++length) {
      EXPECT_EQ(ProblemOf(zip.substr(0, length)), kCut) << length;
    }
  }
}

TEST_F(ZipProblemTest, EmptyArchiveIsNone) { EXPECT_EQ(ProblemOf(End(0, 0)), "it is empty"); }

TEST_F(ZipProblemTest, DirectoryHasToLieBeforeTheEnd) {
  EXPECT_EQ(ProblemOf(kFiles + kDirectory + End(kDirectory.size() + 1, kFiles.size())), kCut);
  EXPECT_EQ(ProblemOf(kFiles + kDirectory + End(1000, 0)), kCut);
  EXPECT_EQ(ProblemOf(kFiles + kDirectory + End(1, kFiles.size() + 1)), kCut);
}

TEST_F(ZipProblemTest, FileThatIsNotThereIsTold) {
  EXPECT_EQ(ZipProblem(file_), "it isn't there, or can't be read");
}

}  // namespace
}  // namespace Hvctl
