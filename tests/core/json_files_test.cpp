#include "core/json_files.h"

#include "core_test.h"
#include "host/unique_resource.h"

namespace Halvard {
namespace {

class JsonFiles : public CoreTest {
 protected:
  void Write(std::string_view content) { machine_.WriteFile(path_, content); }
  bool Load(DWORD flags = FILE_ATTRIBUTE_NORMAL) { return LoadJsonFromFile(path_, value_, flags); }

  const std::wstring path_ = L"C:\\Data \u6771\u4eac\\document.json";
  Json::Value value_;
};

Json::Value Sample() {
  Json::Value value;
  value["name"] = "Z\xC3\xBCrich";
  value["port"] = Json::nullValue;
  return value;
}

TEST_F(JsonFiles, WritesStyledText) {
  machine_.MakeFolder(L"C:\\Data \u6771\u4eac");
  EXPECT_TRUE(SaveJsonToFile(path_, Sample(), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(machine_.ReadFile(path_), Json::StyledWriter().write(Sample()));
}

TEST_F(JsonFiles, WritesOverALongerFileAndLeavesCodeZero) {
  Write(std::string(10'000, 'x'));
  EXPECT_TRUE(SaveJsonToFile(path_, Sample(), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(machine_.ReadFile(path_), Json::StyledWriter().write(Sample()));
}

TEST_F(JsonFiles, SavingLeavesTheCodeOfWhatFailed) {
  EXPECT_FALSE(SaveJsonToFile(L"C:\\nowhere\\document.json", Sample(), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  machine_.MakeFolder(L"C:\\folder");
  EXPECT_FALSE(SaveJsonToFile(L"C:\\folder", Sample(), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(JsonFiles, FullDiskLeavesItsCode) {
  machine_.MakeFolder(L"C:\\Data \u6771\u4eac");
  machine_.PlanFault({.function = "WriteFile", .error = ERROR_DISK_FULL});
  EXPECT_FALSE(SaveJsonToFile(path_, Sample(), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
}

TEST_F(JsonFiles, ReadsWhatWasSaved) {
  Write("{ \"name\": \"Z\xC3\xBCrich\", \"port\": null }");
  EXPECT_TRUE(Load());
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(value_, Sample());
}

TEST_F(JsonFiles, ReadsAFileOfExactlyOnePage) {
  Write("[\"" + std::string(4096 - 4, 'x') + "\"]");
  EXPECT_TRUE(Load());
  EXPECT_EQ(value_[0].asString().size(), std::size_t{4096 - 4});
}

TEST_F(JsonFiles, MissingFileLeavesItsCode) {
  EXPECT_FALSE(LoadJsonFromFile(L"C:\\document.json", value_, 0));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(JsonFiles, EmptyFileCannotBeMapped) {
  Write("");
  EXPECT_FALSE(Load());
  EXPECT_EQ(GetLastError(), DWORD{1006});
}

TEST_F(JsonFiles, TextThatIsNoJsonHandsOutWhatWasRead) {
  Write("{ \"name\": \"a\", \"port\": ");
  EXPECT_FALSE(Load());
  EXPECT_EQ(GetLastError(), DWORD{13});
  EXPECT_EQ(value_["name"], "a");
}

TEST_F(JsonFiles, FileOpenElsewhereIsASharingViolation) {
  Write("{}");
  const Host::UniqueFile held(CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(held);
  EXPECT_FALSE(Load());
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_FALSE(SaveJsonToFile(path_, Sample(), nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
}

TEST_F(JsonFiles, DeleteOnCloseRemovesGoodAndBadFilesAlike) {
  for (const char* content : {"{}", "", "no json"}) {
    Write(content);
    (void)Load(FILE_FLAG_DELETE_ON_CLOSE);
    EXPECT_FALSE(machine_.FileExists(path_)) << content;
  }
}

struct FaultCase {
  const char* function;
  DWORD error;
};

TEST_F(JsonFiles, EachFailureOfReadingLeavesItsCodeAndNoHandle) {
  Write("{}");
  for (const FaultCase& row : {FaultCase{"CreateFileW", 5}, FaultCase{"GetFileSize", 6},
                               FaultCase{"CreateFileMappingW", 8}, FaultCase{"MapViewOfFile", 8}}) {
    machine_.Remove("/faults");
    machine_.PlanFault({.function = row.function, .call = 1, .error = row.error});
    EXPECT_FALSE(Load()) << row.function;
    EXPECT_EQ(GetLastError(), row.error) << row.function;
    // An open handle would keep others out.
    EXPECT_TRUE(Load()) << row.function;
  }
}

}  // namespace
}  // namespace Halvard
