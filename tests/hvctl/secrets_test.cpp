#include "secrets.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "failure.h"
#include "temp_file.h"

namespace Hvctl {
namespace {

class GetSecretTest : public testing::Test {
 protected:
  ~GetSecretTest() override {
    SetVariable("");
    std::filesystem::remove(file_);
  }

  static void SetVariable(const std::string& value) {
    // An empty value removes the variable on Windows; nowhere else is one set empty here.
    static std::string text;
    text = "HVCTL_TEST_SECRET=" + value;
#ifdef _WIN32
    _putenv(text.c_str());
#else
    if (value.empty()) {
      unsetenv("HVCTL_TEST_SECRET");
    } else {
      setenv("HVCTL_TEST_SECRET", value.c_str(), 1);
    }
#endif
  }

  void WriteFile(const std::string& bytes) { std::ofstream(file_, std::ios::binary) << bytes; }

  std::string Get(const std::string& file) { return GetSecret(parameter_, file, input_, false); }

  const Parameter parameter_{"--test-file",       "test",  Parameter::Kind::kSecret, false, "",
                             "HVCTL_TEST_SECRET", "Test: "};
  const std::filesystem::path file_ = TempFile();
  std::istringstream input_;
};

TEST_F(GetSecretTest, FileGivesItsFirstLine) {
  for (const std::string bytes : {"secret \n", "secret \r\n", "secret ", "secret \nmore\n"}) {
    WriteFile(bytes);
    EXPECT_EQ(Get(file_.string()), "secret ");
  }
}

TEST_F(GetSecretTest, StandardInputGivesALineToEachSecret) {
  input_.str("first\nsecond\r\n");
  EXPECT_EQ(Get("-"), "first");
  EXPECT_EQ(Get("-"), "second");
  EXPECT_EQ(Get("-"), "");
}

TEST_F(GetSecretTest, FileComesBeforeTheVariable) {
  SetVariable("of the variable");
  EXPECT_EQ(Get(""), "of the variable");
  WriteFile("of the file");
  EXPECT_EQ(Get(file_.string()), "of the file");
}

TEST_F(GetSecretTest, WithoutAnyWayTheUserIsToldBoth) {
  try {
    Get("");
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kUsage);
    EXPECT_STREQ(failure.what(), "No password: give --test-file or set HVCTL_TEST_SECRET.");
  }
}

TEST_F(GetSecretTest, FileThatCannotBeReadIsNamed) {
  EXPECT_THROW(Get((file_ / "missing").string()), Failure);
}

}  // namespace
}  // namespace Hvctl
