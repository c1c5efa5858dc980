#include "winreg.h"

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "winerror.h"

namespace {

using Lab::RegistryValue;
using Lab::TextOrEmpty;

/// An open key. Opened for setting values, it can't be read.
class KeyObject : public Lab::Object {
 public:
  explicit KeyObject(std::wstring path) : path_(std::move(path)) {}
  const char* TypeName() const override { return "Key"; }
  const std::wstring& Path() const { return path_; }

 private:
  const std::wstring path_;
};

/// \return The path of the key below an open key or a hive; empty when \p key is neither.
std::wstring FullKeyPath(HKEY key, LPCWSTR subKey) {
  std::wstring path;
  if (key == HKEY_LOCAL_MACHINE) {
    path = L"HKEY_LOCAL_MACHINE";
  } else if (const auto open = Lab::Handles().FindAs<KeyObject>(key)) {
    path = open->Path();
  } else {
    return path;
  }
  std::wstring_view below = TextOrEmpty(subKey);
  while (below.ends_with(L'\\')) below.remove_suffix(1);
  if (!below.empty()) path.append(L"\\").append(below);
  return path;
}

/// What a value of text occupies when it's handed out: room for a missing terminator is counted.
std::wstring Terminated(const RegistryValue& value) {
  std::wstring text = value.text;
  if (!text.empty() && text.back() != L'\0') text += L'\0';
  return text;
}

/// \return Pointer and size of what the value stores, a text with its terminator.
struct StoredBytes {
  const void* data;
  DWORD bytes;
};

StoredBytes Bytes(const RegistryValue& value, const std::wstring& text) {
  if (value.IsText()) return {text.data(), static_cast<DWORD>(text.size() * sizeof(WCHAR))};
  return {value.bytes.data(), static_cast<DWORD>(value.bytes.size())};
}

/// Hands out the bytes if there's room for them, and their number in any case.
LSTATUS HandOutBytes(const StoredBytes& stored, PVOID data, LPDWORD dataBytes) {
  if (dataBytes == nullptr) return ERROR_SUCCESS;
  const DWORD room = std::exchange(*dataBytes, stored.bytes);
  if (data == nullptr) return ERROR_SUCCESS;
  if (room < stored.bytes) return ERROR_MORE_DATA;
  // A value of no bytes leaves the buffer as it was.
  if (stored.bytes != 0) std::memcpy(data, stored.data, stored.bytes);
  return ERROR_SUCCESS;
}

RegistryValue MakeValue(DWORD type, LPCVOID data, DWORD dataBytes) {
  RegistryValue value{.type = type};
  if (value.IsText()) {
    value.text.resize(dataBytes / sizeof(WCHAR));
    if (dataBytes != 0) std::memcpy(value.text.data(), data, dataBytes);
  } else {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    value.bytes.assign(bytes, bytes + dataBytes);
  }
  return value;
}

}  // namespace

LSTATUS WINAPI RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, LPDWORD type,
                            PVOID data, LPDWORD dataBytes) {
  const Lab::Call call("RegGetValueW", TextOrEmpty(value));
  if (const auto error = call.PlannedError()) return static_cast<LSTATUS>(*error);
  LAB_SUPPORTS(flags == (RRF_RT_REG_SZ | RRF_NOEXPAND));
  if (data != nullptr && dataBytes == nullptr) return ERROR_INVALID_PARAMETER;
  if (key != HKEY_LOCAL_MACHINE) {
    // The only keys that are opened are opened for writing.
    return Lab::Handles().FindAs<KeyObject>(key) ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE;
  }
  if (TextOrEmpty(subKey).starts_with(L'\\')) return ERROR_BAD_PATHNAME;

  const std::optional<RegistryValue> found =
      Lab::TheMachine().Registry().Find(FullKeyPath(key, subKey), TextOrEmpty(value));
  if (type != nullptr) *type = found ? found->type : REG_NONE;
  if (!found) return ERROR_FILE_NOT_FOUND;
  const std::wstring text = Terminated(*found);
  const LSTATUS result = HandOutBytes(Bytes(*found, text), data, dataBytes);
  // The type is tested before the room, but the data goes out all the same.
  return found->type == REG_SZ ? result : ERROR_UNSUPPORTED_TYPE;
}

LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result) {
  const Lab::Call call("RegOpenKeyExW", TextOrEmpty(subKey));
  if (const auto error = call.PlannedError()) return static_cast<LSTATUS>(*error);
  LAB_SUPPORTS(options == 0);
  LAB_SUPPORTS(access == KEY_SET_VALUE);
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  const std::wstring path = FullKeyPath(key, subKey);
  if (path.empty()) return ERROR_INVALID_HANDLE;
  if (TextOrEmpty(subKey).starts_with(L'\\')) return ERROR_BAD_PATHNAME;
  if (!Lab::TheMachine().Registry().HasKey(path)) return ERROR_FILE_NOT_FOUND;
  *result = static_cast<HKEY>(Lab::Handles().Add(std::make_shared<KeyObject>(path)));
  return ERROR_SUCCESS;
}

LSTATUS WINAPI RegSetKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD type, LPCVOID data,
                               DWORD dataBytes) {
  const Lab::Call call("RegSetKeyValueW", TextOrEmpty(value));
  if (const auto error = call.PlannedError()) return static_cast<LSTATUS>(*error);
  const bool whole = dataBytes % sizeof(WCHAR) == 0;
  LAB_SUPPORTS(type != REG_SZ && type != REG_EXPAND_SZ && type != REG_MULTI_SZ ? true : whole);
  const std::wstring path = FullKeyPath(key, subKey);
  if (path.empty()) return ERROR_INVALID_HANDLE;
  if (data == nullptr && dataBytes != 0) return ERROR_INVALID_PARAMETER;
  Lab::TheMachine().Registry().Set(path, TextOrEmpty(value), MakeValue(type, data, dataBytes));
  return ERROR_SUCCESS;
}

LSTATUS WINAPI RegCloseKey(HKEY key) {
  const Lab::Call call("RegCloseKey");
  if (const auto error = call.PlannedError()) return static_cast<LSTATUS>(*error);
  if (key == HKEY_LOCAL_MACHINE) return ERROR_SUCCESS;
  if (!Lab::Handles().FindAs<KeyObject>(key)) return ERROR_INVALID_HANDLE;
  return Lab::Handles().Close(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
