#include "support.h"

namespace {

constexpr wchar_t kUpgrade[] = L"{7E570000-1111-4A11-8A11-0000000000A1}";
constexpr wchar_t kProduct[] = L"{7E570000-2222-4A22-8A22-0000000000B2}";
constexpr wchar_t kVersion[] = L"5.5.0.1234";
constexpr DWORD kVersionLength = 10;

class Installer : public testing::Test {
 protected:
  void SetUp() override { WindowsApi::InstallProduct(kProduct, kUpgrade, kVersion); }
};

TEST_F(Installer, RelatedProductIsFoundByItsUpgradeCode) {
  wchar_t code[39] = {};
  EXPECT_EQ(MsiEnumRelatedProductsW(kUpgrade, 0, 0, code), ERROR_SUCCESS);
  EXPECT_STREQ(code, kProduct);
  EXPECT_EQ(MsiEnumRelatedProductsW(kUpgrade, 0, 1, code), ERROR_NO_MORE_ITEMS);
}

TEST_F(Installer, UpgradeCodeMayBeInLowerCase) {
  wchar_t code[39] = {};
  EXPECT_EQ(MsiEnumRelatedProductsW(L"{7e570000-1111-4a11-8a11-0000000000a1}", 0, 0, code),
            ERROR_SUCCESS);
  EXPECT_STREQ(code, kProduct);
}

TEST_F(Installer, UnknownUpgradeCodeHasNoProducts) {
  wchar_t code[39] = {};
  EXPECT_EQ(MsiEnumRelatedProductsW(L"{7E570000-3333-4A33-8A33-0000000000C3}", 0, 0, code),
            ERROR_NO_MORE_ITEMS);
}

TEST_F(Installer, NoCodeOrNoBufferIsAnInvalidParameter) {
  wchar_t code[39] = {};
  EXPECT_EQ(MsiEnumRelatedProductsW(nullptr, 0, 0, code), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(MsiEnumRelatedProductsW(kUpgrade, 0, 0, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(Installer, LengthIsAskedForWithABufferThatIsTooShort) {
  wchar_t buffer[16] = {L'?'};
  DWORD length = 0;
  EXPECT_EQ(MsiGetProductInfoW(kProduct, L"VersionString", buffer, &length), ERROR_MORE_DATA);
  EXPECT_EQ(length, kVersionLength);
  EXPECT_EQ(buffer[0], L'?');
  length = kVersionLength;
  EXPECT_EQ(MsiGetProductInfoW(kProduct, L"VersionString", buffer, &length), ERROR_MORE_DATA);
  length = kVersionLength + 1;
  EXPECT_EQ(MsiGetProductInfoW(kProduct, L"VersionString", buffer, &length), ERROR_SUCCESS);
  EXPECT_EQ(length, kVersionLength);
  EXPECT_STREQ(buffer, kVersion);
}

TEST_F(Installer, WithoutABufferTheLengthComesWithSuccess) {
  DWORD length = 0;
  EXPECT_EQ(MsiGetProductInfoW(kProduct, L"VersionString", nullptr, &length), ERROR_SUCCESS);
  EXPECT_EQ(length, kVersionLength);
}

TEST_F(Installer, BufferWithoutLengthIsAnInvalidParameter) {
  wchar_t buffer[16] = {};
  EXPECT_EQ(MsiGetProductInfoW(kProduct, L"VersionString", buffer, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(Installer, UnknownProductAndPropertyHaveCodesOfTheirOwn) {
  wchar_t buffer[16] = {};
  DWORD length = 16;
  EXPECT_EQ(MsiGetProductInfoW(L"{7E570000-4444-4A44-8A44-0000000000D4}", L"VersionString", buffer,
                               &length),
            ERROR_UNKNOWN_PRODUCT);
  EXPECT_EQ(MsiGetProductInfoW(kProduct, L"versionstring", buffer, &length),
            ERROR_UNKNOWN_PROPERTY);
  EXPECT_EQ(MsiGetProductInfoW(L"no code", L"VersionString", buffer, &length),
            ERROR_INVALID_PARAMETER);
}

}  // namespace
