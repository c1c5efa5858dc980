#include "security/sddl.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string_view>

#include "machine/text.h"

namespace Lab {
namespace {

struct Letters {
  std::wstring_view letters;
  std::uint32_t value;
};

constexpr Letters kRights[] = {{L"GA", 0x10000000}, {L"GR", 0x80000000}, {L"GW", 0x40000000},
                               {L"GX", 0x20000000}, {L"FA", 0x1F01FF},   {L"FR", 0x120089},
                               {L"FW", 0x120116},   {L"FX", 0x1200A0},   {L"RC", 0x20000},
                               {L"SD", 0x10000},    {L"WD", 0x40000},    {L"WO", 0x80000}};

constexpr Letters kInheritance[] = {{L"OI", kToFiles},
                                    {L"CI", kToFolders},
                                    {L"NP", kToOneLevel},
                                    {L"IO", kInheritOnly},
                                    {L"ID", kInherited}};

struct Trustee {
  std::wstring_view letters;
  std::wstring_view sid;
};

constexpr Trustee kTrustees[] = {{L"BA", kAdministratorsGroup}, {L"BU", L"S-1-5-32-545"},
                                 {L"SY", kSystemAccount},       {L"CO", kCreatorOwner},
                                 {L"CG", kCreatorGroup},        {L"OW", kOwnerRights},
                                 {L"WD", L"S-1-1-0"},           {L"AU", L"S-1-5-11"}};

[[noreturn]] void Refuse(const std::wstring& part) {
  throw std::invalid_argument("not understood in a security descriptor: " + ToUtf8(part));
}

/// Adds up pairs of letters.
template <std::size_t N>
std::uint32_t Sum(const std::wstring& text, const Letters (&known)[N]) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const auto* const found = std::find_if(
        std::begin(known), std::end(known),
        [&](const auto& row) { return row.letters == std::wstring_view(text).substr(i, 2); });
    if (found == std::end(known)) Refuse(text);
    sum |= found->value;
  }
  return sum;
}

std::uint32_t ParseRights(const std::wstring& text) {
  if (!text.starts_with(L"0x")) return Sum(text, kRights);
  return static_cast<std::uint32_t>(std::stoul(text.substr(2), nullptr, 16));
}

std::wstring ParseSid(const std::wstring& text) {
  static const std::wregex number(LR"(S-1-[0-9]{1,10}(-[0-9]{1,10}){1,15})");
  if (std::regex_match(text, number)) return text;
  for (const Trustee& row : kTrustees) {
    if (row.letters == text) return std::wstring(row.sid);
  }
  Refuse(text);
}

AccessEntry ParseEntry(const std::wsmatch& parts) {
  return {parts[1] == L"A", static_cast<std::uint8_t>(Sum(parts[2], kInheritance)),
          ParseRights(parts[3]), ParseSid(parts[4])};
}

void ParseList(std::wstring text, SecurityDescriptor& descriptor) {
  static const std::wregex entry(LR"(\(([AD]);([A-Z]*);(0x[0-9a-fA-F]{1,8}|[A-Z]+);;;([^()]+)\))");
  if (text == L"NO_ACCESS_CONTROL") return;
  static const std::wregex control(L"(P|AI|AR)*");
  std::wsmatch match;
  std::regex_search(text, match, control, std::regex_constants::match_continuous);
  descriptor.isProtected = match.str().find(L'P') != std::wstring::npos;
  text = match.suffix();
  descriptor.list.emplace();
  for (; !text.empty(); text = match.suffix()) {
    if (!std::regex_search(text, match, entry, std::regex_constants::match_continuous)) {
      Refuse(text);
    }
    descriptor.list->push_back(ParseEntry(match));
  }
}

std::wstring TrusteeText(const std::wstring& sid) {
  for (const Trustee& row : kTrustees) {
    if (row.sid == sid) return std::wstring(row.letters);
  }
  return sid;
}

std::wstring RightsText(std::uint32_t mask) {
  for (const Letters& row : kRights) {
    if (row.value == mask && (row.letters == L"FA" || row.letters == L"GA")) {
      return std::wstring(row.letters);
    }
  }
  char text[16] = {};
  (void)std::snprintf(text, sizeof text, "0x%x", mask);
  return ToWide(text);
}

std::wstring EntryText(const AccessEntry& entry) {
  std::wstring flags;
  for (const Letters& row : kInheritance) {
    if ((entry.flags & row.value) != 0) flags += row.letters;
  }
  return (entry.allows ? L"(A;" : L"(D;") + flags + L";" + RightsText(entry.mask) + L";;;" +
         TrusteeText(entry.sid) + L")";
}

}  // namespace

SecurityDescriptor ParseSddl(const std::wstring& text) {
  static const std::wregex whole(
      L"(?:O:([A-Z]{2}|S-[-0-9]+))?(?:G:([A-Z]{2}|S-[-0-9]+))?(?:D:(.*))?");
  std::wsmatch parts;
  if (!std::regex_match(text, parts, whole)) Refuse(text);
  SecurityDescriptor descriptor;
  if (parts[1].matched) descriptor.owner = ParseSid(parts[1]);
  if (parts[2].matched) descriptor.group = ParseSid(parts[2]);
  if (parts[3].matched) ParseList(parts[3], descriptor);
  return descriptor;
}

std::wstring SddlText(const SecurityDescriptor& descriptor) {
  std::wstring text;
  if (!descriptor.owner.empty()) text += L"O:" + TrusteeText(descriptor.owner);
  if (!descriptor.group.empty()) text += L"G:" + TrusteeText(descriptor.group);
  text += descriptor.isProtected ? L"D:P" : L"D:";
  return text + (descriptor.list ? EntriesText(*descriptor.list) : L"NO_ACCESS_CONTROL");
}

std::wstring EntriesText(const std::vector<AccessEntry>& entries) {
  std::wstring text;
  for (const AccessEntry& entry : entries) text += EntryText(entry);
  return text;
}

}  // namespace Lab
