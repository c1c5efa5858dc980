#include <cstdio>

#include "machine/reg_file.h"
#include "machine/text.h"
#include "machine/utf16.h"

namespace Lab {
namespace {

std::string Quote(std::wstring_view text) {
  std::string quoted = "\"";
  for (const char c : ToUtf8(text)) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

/// The plain form holds a terminated text of one line and whole characters; all else goes out as
/// bytes.
bool FitsInQuotes(const RegistryValue& value) {
  if (value.type != RegistryValue::kSz || value.text.empty() ||
      value.text.find(L'\0') != value.text.size() - 1)
    return false;
  for (const wchar_t c : value.text) {
    if (c == L'\r' || c == L'\n' || (c >= 0xD800 && c <= 0xDFFF)) return false;
  }
  return true;
}

std::string FormatValue(const RegistryValue& value) {
  if (FitsInQuotes(value)) return Quote(value.text.substr(0, value.text.size() - 1));
  std::string text = "hex(";
  char digits[16];
  std::snprintf(digits, sizeof digits, "%x):", value.type);
  text += digits;
  bool first = true;
  for (const std::uint8_t byte : value.IsText() ? EncodeUtf16(value.text) : value.bytes) {
    std::snprintf(digits, sizeof digits, first ? "%02x" : ",%02x", byte);
    text += digits;
    first = false;
  }
  return text;
}

}  // namespace

std::string WriteRegFile(const RegistryTree& tree) {
  std::string text(kRegFileHeader);
  text += "\r\n";
  for (const auto& [key, values] : tree) {
    text += "\r\n[" + ToUtf8(key) + "]\r\n";
    for (const auto& [name, value] : values) {
      text += (name.empty() ? "@" : Quote(name)) + "=" + FormatValue(value) + "\r\n";
    }
  }
  return text;
}

}  // namespace Lab
