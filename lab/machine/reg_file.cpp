#include "machine/reg_file.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "machine/text.h"
#include "machine/utf16.h"

namespace Lab {
namespace {

[[noreturn]] void Fail(std::size_t line, const std::string& expected) {
  throw RegFileError("line " + std::to_string(line) + ": expected " + expected);
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
  RegistryValue value{.type = RegistryValue::kBinary};
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
    RegistryValue value{.type = RegistryValue::kSz, .text = TakeQuoted(data, line) + L'\0'};
    if (!data.empty()) Fail(line, "nothing behind the text");
    return value;
  }
  if (data.starts_with(L"dword:")) {
    const unsigned long number = ParseHex(data.substr(6), 8, line);
    RegistryValue value{.type = RegistryValue::kDword};
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
    const std::vector<std::uint8_t> bytes(contents.begin() + 2, contents.end());
    return ToWide(ToUtf8(DecodeUtf16(bytes)));  // Without surrogates that lack a partner.
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
    goesOn = entry.text.ends_with(L",\\") && entry.text.find(L"=hex") != std::wstring::npos;
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

}  // namespace

void ReadRegFile(std::string_view contents, RegistryTree& tree) {
  const std::vector<Line> lines = SplitLines(Decode(contents));
  if (lines.empty() || ToUtf8(lines.front().text) != kRegFileHeader) {
    Fail(1, "\"" + std::string(kRegFileHeader) + "\"");
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

}  // namespace Lab
