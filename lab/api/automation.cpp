// Texts and values of automation.
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "com/com_object.h"
#include "machine/call.h"
#include "windows.h"

#include "oleauto.h"

namespace {

// The length in bytes stands before the first character.
constexpr std::size_t kPrefix = sizeof(DWORD);
static_assert(alignof(OLECHAR) <= kPrefix);

void FreeText(BSTR text) {
  if (text != nullptr) std::free(reinterpret_cast<char*>(text) - kPrefix);
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  const Lab::Call call("SysAllocString", text == nullptr ? L"" : text);
  if (text == nullptr || call.PlannedError()) return nullptr;
  const std::size_t bytes = std::wcslen(text) * sizeof(OLECHAR);
  auto* const memory = static_cast<char*>(std::malloc(kPrefix + bytes + sizeof(OLECHAR)));
  if (memory == nullptr) return nullptr;
  const auto length = static_cast<DWORD>(bytes);
  std::memcpy(memory, &length, kPrefix);
  std::memcpy(memory + kPrefix, text, bytes + sizeof(OLECHAR));
  return reinterpret_cast<BSTR>(memory + kPrefix);
}

void SysFreeString(BSTR text) {
  const Lab::Call call("SysFreeString");
  LAB_SUPPORTS(!call.PlannedError());
  FreeText(text);
}

UINT SysStringLen(BSTR text) {
  const Lab::Call call("SysStringLen");
  LAB_SUPPORTS(!call.PlannedError());
  if (text == nullptr) return 0;
  DWORD bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - kPrefix, kPrefix);
  return static_cast<UINT>(bytes / sizeof(OLECHAR));
}

void VariantInit(VARIANTARG* variant) {
  const Lab::Call call("VariantInit");
  LAB_SUPPORTS(variant != nullptr && !call.PlannedError());
  variant->vt = VT_EMPTY;
}

HRESULT VariantClear(VARIANTARG* variant) {
  LAB_SUPPORTS(variant != nullptr);
  const Lab::Call call("VariantClear");
  if (const auto planned = Lab::PlannedResult(call)) return *planned;
  LAB_SUPPORTS(variant->vt == VT_EMPTY || variant->vt == VT_I4 || variant->vt == VT_BSTR ||
               variant->vt == VT_DISPATCH);
  if (variant->vt == VT_BSTR) FreeText(variant->bstrVal);
  if (variant->vt == VT_DISPATCH && variant->pdispVal != nullptr) variant->pdispVal->Release();
  variant->vt = VT_EMPTY;
  return S_OK;
}
