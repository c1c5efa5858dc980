#include "machine/reg_file.h"

#include <cstdio>
#include <vector>

#include "machine/text.h"

namespace Lab {
namespace {

constexpr std::uint32_t kSz = 1, kExpandSz = 2, kBinary = 3, kDword = 4, kMultiSz = 7;
constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00";

[[noreturn]] void Fail(std::size_t line, const std::string& expected) {
  throw RegFileError("line " + std::to_string(line) + ": expected " + expected);
}

std::wstring DecodeUtf16(const std::vector<std::uint8_t>& bytes) {
  std::wstring text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit = static_cast<char32_t>(bytes[i] | (bytes[i + 1] << 8));
    const bool second = (unit & 0xFC00) == 0xDC00;
    if (second && !text.empty() && (static_cast<char32_t>(text.back()) & ~0x3FFu) == 0xD800) {
      const auto high = static_cast<char32_t>(text.back()) & 0x3FF;
      text.back() = static_cast<wchar_t>(0x10000 + (high << 10) + (unit & 0x3FF));
    } else {
      text += static_cast<wchar_t>(unit);
    }
  }
  return text;
}

std::vector<std::uint8_t> EncodeUtf16(std::wstring_view text) {
  std::vector<std::uint8_t> bytes;
  const auto add = [&](char32_t unit) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  };
  for (const wchar_t c : text) {
    const auto value = static_cast<char32_t>(c);
    if (value > 0xFFFF) add(0xD800 + ((value - 0x10000) >> 10));
    add(value > 0xFFFF ? 0xDC00 + (value & 0x3FF) : value);
  }
  return bytes;
}

/// Reads "text" with \\ and \" for a backslash and a quote; leaves what follows in \p rest.
std::wstring TakeQuoted(std::wstring_view& rest, std::size_t line) {
  std::wstring text;
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == L'"') {
      rest.remove_prefix(i + 1);
      return text;
    }
    if (rest[i] == L'\\' && ++i == rest.size()) break;
    text += rest[i];
  }
  Fail(line, "a quote at the end of the text");
}

unsigned long ParseHex(std::wstring_view digits, std::size_t most, std::size_t line) {
  if (digits.empty() || digits.size() > most) Fail(line, "hexadecimal digits");
  unsigned long value = 0;
  for (const wchar_t c : digits) {
    const std::size_t digit = std::wstring_view(L"0123456789abcdef")
                                  .find(c >= L'A' && c <= L'F' ? static_cast<wchar_t>(c + 32) : c);
    if (digit == std::wstring_view::npos) Fail(line, "hexadecimal digits");
    value = value * 16 + digit;
  }
  return value;
}

/// Reads what stands behind "hex:" or "hex(7):".
RegistryValue ParseHexValue(std::wstring_view data, std::size_t line) {
  RegistryValue value{.type = kBinary, .text = {}, .bytes = {}};
  if (data.starts_with(L"(")) {
    const std::size_t end = data.find(L')');
    if (end == std::wstring_view::npos) Fail(line, "the number of a type in brackets");
    value.type = static_cast<std::uint32_t>(ParseHex(data.substr(1, end - 1), 8, line));
    data.remove_prefix(end + 1);
  }
  if (!data.starts_with(L":")) Fail(line, "a colon behind the type");
  data.remove_prefix(1);
  while (!data.empty()) {
    const std::size_t end = data.find(L',');
    value.bytes.push_back(static_cast<std::uint8_t>(ParseHex(data.substr(0, end), 2, line)));
    data.remove_prefix(end == std::wstring_view::npos ? data.size() : end + 1);
  }
  if (value.IsText()) {
    if (value.bytes.size() % 2 != 0) Fail(line, "an even number of bytes in a text");
    value.text = DecodeUtf16(value.bytes);
    value.bytes.clear();
  }
  return value;
}

RegistryValue ParseValue(std::wstring_view data, std::size_t line) {
  if (data.starts_with(L"\"")) {
    RegistryValue value{.type = kSz, .text = TakeQuoted(data, line) + L'\0', .bytes = {}};
    if (!data.empty()) Fail(line, "nothing behind the text");
    return value;
  }
  if (data.starts_with(L"dword:")) {
    const unsigned long number = ParseHex(data.substr(6), 8, line);
    RegistryValue value{.type = kDword, .text = {}, .bytes = {}};
    for (int i = 0; i < 4; ++i) {
      value.bytes.push_back(static_cast<std::uint8_t>((number >> (8 * i)) & 0xFF));
    }
    return value;
  }
  if (data.starts_with(L"hex")) return ParseHexValue(data.substr(3), line);
  Fail(line, "\"text\", dword:, hex: or hex(type):");
}

void RemoveKey(const std::wstring& key, RegistryTree& tree) {
  const std::wstring below = FoldCase(key + L'\\');
  for (auto entry = tree.begin(); entry != tree.end();) {
    const std::wstring name = FoldCase(entry->first + L'\\');
    entry = name.starts_with(below) ? tree.erase(entry) : std::next(entry);
  }
}

/// One entry with the lines that a backslash at the end joins to it; the number of its first line.
struct Line {
  std::wstring text;
  std::size_t number;
};

std::wstring Decode(std::string_view contents) {
  if (contents.starts_with("\xFF\xFE")) {
    return DecodeUtf16(std::vector<std::uint8_t>(contents.begin() + 2, contents.end()));
  }
  if (contents.starts_with("\xEF\xBB\xBF")) contents.remove_prefix(3);
  return ToWide(contents);
}

std::vector<Line> SplitLines(const std::wstring& text) {
  std::vector<Line> lines;
  bool goesOn = false;
  std::size_t number = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(L'\n', begin), text.size());
    std::wstring line = text.substr(begin, end - begin);
    begin = end + 1;
    ++number;
    if (line.ends_with(L'\r')) line.pop_back();
    if (goesOn) {
      lines.back().text += line.substr(std::min(line.find_first_not_of(L' '), line.size()));
    } else {
      lines.push_back({line, number});
    }
    Line& entry = lines.back();
    goesOn = entry.text.ends_with(L",\\");
    if (goesOn) entry.text.pop_back();
  }
  return lines;
}

/// Takes "[KEY]" or "[-KEY]". \return The key whose values follow; null after a removal.
RegistryKey* ReadKeyLine(const Line& line, RegistryTree& tree) {
  if (!line.text.ends_with(L"]")) Fail(line.number, "] at the end of the key");
  const std::wstring key = line.text.substr(1, line.text.size() - 2);
  if (key.starts_with(L"-")) {
    RemoveKey(key.substr(1), tree);
    return nullptr;
  }
  if (!key.starts_with(L"HKEY_")) Fail(line.number, "a key that begins with its hive, HKEY_...");
  for (std::size_t end = key.find(L'\\'); end != std::wstring::npos;
       end = key.find(L'\\', end + 1)) {
    tree.try_emplace(key.substr(0, end));
  }
  return &tree[key];
}

void ReadValueLine(const Line& line, RegistryKey& key) {
  std::wstring_view rest = line.text;
  std::wstring name;
  if (rest.starts_with(L"@")) {
    rest.remove_prefix(1);
  } else if (rest.starts_with(L"\"")) {
    name = TakeQuoted(rest, line.number);
  } else {
    Fail(line.number, "a key in brackets, a value's name in quotes, or @");
  }
  if (!rest.starts_with(L"=")) Fail(line.number, "= behind the name");
  rest.remove_prefix(1);
  if (rest == L"-") {
    key.erase(name);
  } else {
    key[name] = ParseValue(rest, line.number);
  }
}

std::string Quote(std::wstring_view text) {
  std::string quoted = "\"";
  for (const char c : ToUtf8(text)) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

/// The plain form holds a terminated text of one line; all else goes out as bytes.
bool FitsInQuotes(const RegistryValue& value) {
  return value.type == kSz && value.text.find(L'\0') == value.text.size() - 1 &&
         value.text.find_first_of(L"\r\n") == std::wstring::npos;
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

void ReadRegFile(std::string_view contents, RegistryTree& tree) {
  const std::vector<Line> lines = SplitLines(Decode(contents));
  if (lines.empty() || ToUtf8(lines.front().text) != kHeader) {
    Fail(1, "\"" + std::string(kHeader) + "\"");
  }
  RegistryKey* key = nullptr;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const Line& line = lines[i];
    if (line.text.empty() || line.text.starts_with(L";")) continue;
    if (line.text.starts_with(L"[")) {
      key = ReadKeyLine(line, tree);
    } else if (key != nullptr) {
      ReadValueLine(line, *key);
    } else {
      Fail(line.number, "a key in brackets before the first value");
    }
  }
}

std::string WriteRegFile(const RegistryTree& tree) {
  std::string text(kHeader);
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
