#include <fstream>
#include <iterator>
#include <string>

#include "scratch_folder.h"
#include "what_wine_lacks.h"

namespace {

class PackageUnpacking : public testing::Test {
 protected:
  PackageUnpacking() { MsiSetInternalUI(INSTALLUILEVEL_NONE, nullptr); }

  UINT Unpack(const std::wstring& package) const {
    const std::wstring properties = L"ACTION=ADMIN TARGETDIR=\"" + folder_.In(L"image") + L"\"";
    return MsiInstallProductW(package.c_str(), properties.c_str());
  }

  WindowsApi::ScratchFolder folder_;
};

TEST_F(PackageUnpacking, LevelOfTheInterfaceIsHandedBack) {
  EXPECT_EQ(MsiSetInternalUI(INSTALLUILEVEL_DEFAULT, nullptr), INSTALLUILEVEL_NONE);
  EXPECT_EQ(MsiSetInternalUI(INSTALLUILEVEL_NONE, nullptr), INSTALLUILEVEL_DEFAULT);
}

TEST_F(PackageUnpacking, MissingPackageIsAMissingFile) {
  EXPECT_EQ(Unpack(folder_.In(L"none.msi")), UINT{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Unpack(folder_.In(L"none\\none.msi")), UINT{ERROR_FILE_NOT_FOUND});
}

TEST_F(PackageUnpacking, FileOfAnotherKindIsNoPackage) {
  SKIP_ON_BARE_WINE("Wine says 1627 of a file that is no package");
  EXPECT_EQ(Unpack(folder_.Write(L"a.msi", "no package")), UINT{ERROR_INSTALL_PACKAGE_INVALID});
  EXPECT_EQ(Unpack(folder_.Write(L"b.msi", "")), UINT{ERROR_INSTALL_PACKAGE_INVALID});
}

/// The bytes of the package of the upgrade runner, as the build has made it on the host.
std::string RunnerPackage() {
  std::ifstream file(CONFORMANCE_PACKAGE, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST_F(PackageUnpacking, ImageHasThePackagesFiles) {
  SKIP_ON_BARE_WINE("MsiInstallProductW of Wine answers 1626 to an administrative install");
  const std::wstring package = folder_.Write(L"package.msi", RunnerPackage());
  const std::wstring script =
      folder_.In(L"image\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\UpgradeRunner.py");
  // The second one finds the files of the first.
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Unpack(package), UINT{ERROR_SUCCESS});
    ASSERT_TRUE(WindowsApi::Exists(script));
    EXPECT_TRUE(WindowsApi::Contents(script).starts_with("\"\"\"The upgrade runner"));
  }
}

}  // namespace
