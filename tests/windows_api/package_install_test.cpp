#include "scratch_folder.h"
#include "support.h"

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
  SKIP_ON_WINE("Wine says 1627 of a file that is no package");
  EXPECT_EQ(Unpack(folder_.Write(L"a.msi", "no package")), UINT{ERROR_INSTALL_PACKAGE_INVALID});
  EXPECT_EQ(Unpack(folder_.Write(L"b.msi", "")), UINT{ERROR_INSTALL_PACKAGE_INVALID});
}

}  // namespace
