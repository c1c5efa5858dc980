// Formats of wide text, checked against their arguments while the program is compiled. The compiler
// itself checks narrow formats only.
#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>

namespace Halvard {

/// What an argument is to a conversion. Signs aren't told apart: codes of the system are unsigned,
/// and printed by %d.
enum class FormatArgument { kWideText, kNarrowText, kNumber32, kNumber64, kReal, kNone };

/// \return kNone for what can't be printed, as an object of a class.
template <typename Argument>
constexpr FormatArgument FormatArgumentOf() {
  if constexpr (std::is_same_v<Argument, const wchar_t*> || std::is_same_v<Argument, wchar_t*>) {
    return FormatArgument::kWideText;
  } else if constexpr (std::is_same_v<Argument, const char*> || std::is_same_v<Argument, char*>) {
    return FormatArgument::kNarrowText;
  } else if constexpr (std::is_convertible_v<Argument, long long> &&
                       !std::is_floating_point_v<Argument> && !std::is_class_v<Argument>) {
    // Names of an enumeration are numbers as well, unless it keeps them to itself.
    return sizeof(Argument) <= sizeof(int) ? FormatArgument::kNumber32 : FormatArgument::kNumber64;
  } else if constexpr (std::is_same_v<Argument, double> || std::is_same_v<Argument, float>) {
    return FormatArgument::kReal;
  } else {
    return FormatArgument::kNone;
  }
}

namespace Internal {

constexpr std::wstring_view kFlagsAndWidth = L"-+ #0123456789.";

/// The longer ones first.
constexpr std::wstring_view kSizes[] = {L"I64", L"I32", L"ll", L"h", L"l", L"w", L"z"};

/// \return What Windows prints by \p letter behind \p size. kNone for a conversion that isn't in
///         use here; signs aren't looked at, so the size is all that tells one number from
///         another.
constexpr FormatArgument PrintedBy(std::wstring_view size, wchar_t letter) {
  if (letter == L's' && size == L"h") return FormatArgument::kNarrowText;
  const bool isWideSize = size.empty() || size == L"w" || size == L"l";
  if (letter == L's' && isWideSize) return FormatArgument::kWideText;
  if (letter == L'c' && size.empty()) return FormatArgument::kNumber32;
  if (letter == L'f' && size.empty()) return FormatArgument::kReal;
  if (std::wstring_view(L"diuxX").find(letter) == std::wstring_view::npos || size == L"w") {
    return FormatArgument::kNone;
  }
  // A long has 32 bits on Windows.
  const bool is64 = size == L"ll" || size == L"I64" || size == L"z";
  return is64 ? FormatArgument::kNumber64 : FormatArgument::kNumber32;
}

/// Takes what stands behind a percent sign off the start of \p rest. A width that is an argument
/// isn't in use here.
constexpr FormatArgument ReadConversion(std::wstring_view& rest) {
  while (!rest.empty() && kFlagsAndWidth.find(rest.front()) != std::wstring_view::npos) {
    rest.remove_prefix(1);
  }
  std::wstring_view size;
  for (const std::wstring_view candidate : kSizes) {
    if (!rest.starts_with(candidate)) continue;
    size = candidate;
    rest.remove_prefix(candidate.size());
    break;
  }
  if (rest.empty()) return FormatArgument::kNone;
  const wchar_t letter = rest.front();
  rest.remove_prefix(1);
  return PrintedBy(size, letter);
}

}  // namespace Internal

/// \return True when the conversions of \p format are those of the arguments, one for each and in
///         their order.
template <typename... Arguments>
constexpr bool FormatFits(std::wstring_view format) {
  constexpr std::size_t kCount = sizeof...(Arguments);
  // One more, since there is no empty array.
  constexpr FormatArgument kArguments[kCount + 1] = {FormatArgumentOf<Arguments>()...};
  std::size_t used = 0;
  while (!format.empty()) {
    const bool isConversion = format.front() == L'%';
    format.remove_prefix(1);
    if (!isConversion) continue;
    if (format.starts_with(L'%')) {
      format.remove_prefix(1);
      continue;
    }
    const FormatArgument wanted = Internal::ReadConversion(format);
    if (wanted == FormatArgument::kNone || used == kCount || kArguments[used] != wanted) {
      return false;
    }
    ++used;
  }
  return used == kCount;
}

/// A format for arguments of these types. A literal becomes one by itself; the compiler refuses it,
/// by the name of the function below, when it doesn't fit.
template <typename... Arguments>
class WideFormat {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): a literal stands where a format is wanted
  consteval WideFormat(const wchar_t* text) : text_(text) {
    if (!FormatFits<Arguments...>(text)) TheFormatDoesNotFitItsArguments();
  }
  constexpr const wchar_t* Text() const { return text_; }

 private:
  static void TheFormatDoesNotFitItsArguments() {}

  const wchar_t* text_;
};

}  // namespace Halvard
