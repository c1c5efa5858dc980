// Mapped files beside programs of the host, which know no sharing.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/unique_resource.h"
#include "support/lab_instance.h"

namespace {

using Halvard::Host::UniqueFile;
using Halvard::Host::UniqueHandle;
using Halvard::Host::UniqueView;

constexpr wchar_t kPath[] = L"C:\\mapped \u8A66.json";

class MappedFile : public testing::Test {
 protected:
  /// Maps a file of so many bytes 'x' and has \p change done to it between mapping and view.
  template <typename Change>
  std::string ViewAfter(std::size_t size, const Change& change) {
    machine_.WriteFile(kPath, std::string(size, 'x'));
    const UniqueFile file(CreateFileW(kPath, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const UniqueHandle mapping(
        CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    change();
    view_.Reset(MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0));
    EXPECT_TRUE(view_);
    return Text(size);
  }

  std::string Text(std::size_t size) const {
    return view_ ? std::string(static_cast<const char*>(view_.Get()), size) : std::string();
  }

  void CutTo(std::size_t size) { std::filesystem::resize_file(machine_.HostPath(kPath), size); }

  Lab::Instance machine_;
  UniqueView view_;
};

TEST_F(MappedFile, IsReadToItsEndWhenTheHostCutsItAfterwards) {
  constexpr std::size_t kSize = 100'000;
  const std::string whole(kSize, 'x');
  EXPECT_EQ(ViewAfter(kSize, [] {}), whole);
  CutTo(0);
  EXPECT_EQ(Text(kSize), whole);
}

TEST_F(MappedFile, HasZerosForWhatTheHostHasCutBefore) {
  EXPECT_EQ(ViewAfter(100'000, [&] { CutTo(3); }), "xxx" + std::string(99'997, '\0'));
}

TEST_F(MappedFile, HasTheSizeThatItHadWhenTheHostAddsToIt) {
  EXPECT_EQ(ViewAfter(3, [&] { CutTo(5000); }), "xxx");
}

}  // namespace
