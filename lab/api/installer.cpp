#include <algorithm>
#include <string_view>
#include <utility>

#include "machine/call.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "msi.h"
#include "winerror.h"

namespace {

using Lab::TextOrEmpty;

constexpr std::size_t kCodeLength = 38;

bool IsHexDigit(wchar_t c) {
  return std::wstring_view(L"0123456789abcdefABCDEF").find(c) != std::wstring_view::npos;
}

/// A code in braces, in either case.
bool IsCode(std::wstring_view code) {
  constexpr std::wstring_view kForm = L"{00000000-0000-0000-0000-000000000000}";
  return std::equal(
      code.begin(), code.end(), kForm.begin(), kForm.end(),
      [](wchar_t c, wchar_t form) { return form == L'0' ? IsHexDigit(c) : c == form; });
}

const Lab::Product* FindProduct(std::wstring_view productCode) {
  for (const Lab::Product& product : Lab::TheMachine().Describe().products) {
    if (Lab::EqualNoCase(product.productCode, productCode)) return &product;
  }
  return nullptr;
}

/// Hands out a property by the installer's own size protocol: lengths are without terminator, and
/// only a buffer can be too small.
UINT HandOutProperty(std::wstring_view text, LPWSTR value, LPDWORD valueLength) {
  if (valueLength == nullptr) return value == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
  const DWORD room = std::exchange(*valueLength, static_cast<DWORD>(text.size()));
  if (value == nullptr) return ERROR_SUCCESS;
  if (room <= text.size()) return ERROR_MORE_DATA;
  text.copy(value, text.size());
  value[text.size()] = L'\0';
  return ERROR_SUCCESS;
}

}  // namespace

UINT WINAPI MsiEnumRelatedProductsW(LPCWSTR upgradeCode, DWORD reserved, DWORD index,
                                    LPWSTR productCode) {
  const Lab::Call call("MsiEnumRelatedProductsW", TextOrEmpty(upgradeCode));
  if (const auto error = call.PlannedError()) return *error;
  LAB_SUPPORTS(reserved == 0);
  if (productCode == nullptr || !IsCode(TextOrEmpty(upgradeCode))) return ERROR_INVALID_PARAMETER;
  DWORD left = index;
  for (const Lab::Product& product : Lab::TheMachine().Describe().products) {
    if (!Lab::EqualNoCase(product.upgradeCode, upgradeCode) || left-- != 0) continue;
    product.productCode.copy(productCode, kCodeLength);
    productCode[kCodeLength] = L'\0';
    return ERROR_SUCCESS;
  }
  return ERROR_NO_MORE_ITEMS;
}

UINT WINAPI MsiGetProductInfoW(LPCWSTR productCode, LPCWSTR property, LPWSTR value,
                               LPDWORD valueLength) {
  const Lab::Call call("MsiGetProductInfoW", TextOrEmpty(property));
  if (const auto error = call.PlannedError()) return *error;
  if (!IsCode(TextOrEmpty(productCode)) || property == nullptr) return ERROR_INVALID_PARAMETER;
  const Lab::Product* const product = FindProduct(productCode);
  if (product == nullptr) return ERROR_UNKNOWN_PRODUCT;
  const auto found = product->properties.find(property);
  if (found == product->properties.end()) return ERROR_UNKNOWN_PROPERTY;
  return HandOutProperty(found->second, value, valueLength);
}
