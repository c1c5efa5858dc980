#include "known_agents.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "failure.h"

namespace Hvctl {
namespace {

namespace fs = std::filesystem;

class KnownAgentsTest : public ::testing::Test {
 protected:
  KnownAgentsTest() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = fs::path(::testing::TempDir()) / (std::string("h\u00e4lvard ") + info->name());
    fs::remove_all(folder_);
  }
  ~KnownAgentsTest() override { fs::remove_all(folder_); }

  fs::path File() const { return folder_ / "deep" / "known_agents"; }
  std::string Text() const {
    std::ostringstream text;
    text << std::ifstream(File()).rdbuf();
    return text.str();
  }

  fs::path folder_;
};

TEST_F(KnownAgentsTest, MissingFileKnowsNobody) {
  EXPECT_FALSE(KnownAgents(File()).Find("a:1"));
  EXPECT_FALSE(KnownAgents(File()).Forget("a:1"));
}

TEST_F(KnownAgentsTest, RemembersAndReplaces) {
  const KnownAgents known(File());
  known.Remember("a:1", "AA");
  known.Remember("b:1", "BB");
  known.Remember("a:1", "CC");
  EXPECT_EQ(known.Find("a:1"), "CC");
  EXPECT_EQ(known.Find("b:1"), "BB");
  EXPECT_EQ(Text(), "b:1 BB\na:1 CC\n");
}

TEST_F(KnownAgentsTest, ForgetsOneAndKeepsForeignLines) {
  const KnownAgents known(File());
  known.Remember("a:1", "AA");
  std::ofstream(File(), std::ios::app) << "# a note\n";
  known.Remember("a:11", "BB");
  EXPECT_TRUE(known.Forget("a:1"));
  EXPECT_EQ(Text(), "# a note\na:11 BB\n");
}

TEST_F(KnownAgentsTest, FileThatCannotBeWrittenIsAFailureWithAWayOut) {
  fs::create_directories(folder_);
  std::ofstream(folder_ / "deep") << "a file where a folder is needed";
  try {
    KnownAgents(File()).Remember("a:1", "AA");
    FAIL() << "nothing thrown";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kUsage);
    EXPECT_NE(std::string(failure.what()).find("--thumbprint"), std::string::npos);
  }
}

}  // namespace
}  // namespace Hvctl
