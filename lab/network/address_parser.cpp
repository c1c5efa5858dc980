#include "network/address_parser.h"

#include <arpa/inet.h>

#include <array>
#include <cstdint>
#include <limits>

namespace Lab {
namespace {

constexpr std::size_t kGroups = 8;
constexpr std::size_t kParts = 4;

/// \return The digit's value; the base or more for what is no digit.
unsigned DigitOf(wchar_t c) {
  if (c >= L'0' && c <= L'9') return static_cast<unsigned>(c - L'0');
  if (c >= L'a' && c <= L'f') return static_cast<unsigned>(c - L'a') + 10;
  if (c >= L'A' && c <= L'F') return static_cast<unsigned>(c - L'A') + 10;
  return std::numeric_limits<unsigned>::max();
}

/// A run of digits, and its value unless it is beyond 32 bits.
struct Number {
  std::uint64_t value = 0;
  std::size_t digits = 0;
};

Number TakeNumber(const wchar_t*& at, unsigned base) {
  Number number;
  for (; DigitOf(*at) < base; ++at, ++number.digits) {
    number.value = number.value * base + DigitOf(*at);
    if (number.value > std::numeric_limits<std::uint32_t>::max()) {
      number.value = std::uint64_t{std::numeric_limits<std::uint32_t>::max()} + 1;
    }
  }
  return number;
}

/// Takes the mark of a base. \return The base; nothing for one that the strict form hasn't.
std::optional<unsigned> TakeNumberBase(const wchar_t*& at, bool strict) {
  constexpr unsigned kOctal = 8, kDecimal = 10, kHexadecimal = 16;
  unsigned base = kDecimal;
  if (*at == L'0' && (at[1] == L'x' || at[1] == L'X')) {
    at += 2;
    base = kHexadecimal;
  } else if (*at == L'0' && DigitOf(at[1]) < kDecimal) {
    ++at;
    base = kOctal;
  }
  if (strict && base != kDecimal) return std::nullopt;
  return base;
}

/// Puts 1 to 4 parts together. \return False when one of them is too big for its place.
bool JoinParts(const std::array<std::uint64_t, kParts>& parts, std::size_t count,
               in_addr& address) {
  constexpr unsigned kByteBits = 8;
  constexpr std::uint64_t kByte = 255;
  std::uint64_t joined = 0;
  for (std::size_t i = 0; i + 1 < count; ++i) {
    if (parts[i] > kByte) return false;
    joined |= parts[i] << (kByteBits * (kParts - 1 - i));
  }
  const std::uint64_t room = std::uint64_t{1} << (kByteBits * (kParts - count + 1));
  if (parts[count - 1] >= room) return false;
  address.s_addr = htonl(static_cast<std::uint32_t>(joined | parts[count - 1]));
  return true;
}

/// An IPv6 address while it is read.
class Ipv6Text {
 public:
  explicit Ipv6Text(const wchar_t* text) : at_(text) {}

  AddressParse Read(in6_addr& address) {
    if (!ReadBegin()) return {false, at_};
    while (IsDigit(*at_)) {
      const Step step = ReadGroup();
      if (step == Step::kBad) return {false, at_};
      if (step == Step::kBadWithoutEnd) return {false, nullptr};
      if (step == Step::kLast || !TakeSeparator()) break;
    }
    if (gap_ ? count_ >= kGroups : count_ != kGroups) return {false, at_};
    Store(address);
    return {true, at_};
  }

 private:
  enum class Step { kMore, kLast, kBad, kBadWithoutEnd };

  static constexpr unsigned kHexadecimal = 16, kDecimal = 10;

  static bool IsDigit(wchar_t c) { return DigitOf(c) < kHexadecimal; }

  bool ReadBegin() {
    if (*at_ != L':') return IsDigit(*at_);
    if (at_[1] != L':') return false;
    at_ += 2;
    gap_ = 0;
    return true;
  }

  Step ReadGroup() {
    constexpr std::size_t kMostDigits = 4;
    if (BeginsDottedPart()) return ReadDottedPart();
    const Number number = TakeNumber(at_, kHexadecimal);
    if (number.digits > kMostDigits) return TooLong(L':');
    groups_[count_++] = static_cast<std::uint16_t>(number.value);
    return Step::kMore;
  }

  /// The parser loses track of where it is unless the number was the last.
  Step TooLong(wchar_t separator) const {
    return *at_ == separator ? Step::kBadWithoutEnd : Step::kBad;
  }

  bool BeginsDottedPart() const {
    if (count_ + 2 > kGroups) return false;
    const wchar_t* behind = at_;
    return TakeNumber(behind, kDecimal).digits > 0 && *behind == L'.';
  }

  Step ReadDottedPart() {
    constexpr std::size_t kMostDigits = 3;
    constexpr std::uint64_t kByte = 255;
    std::array<std::uint16_t, kParts> bytes{};
    for (std::size_t i = 0; i < kParts; ++i) {
      if (i > 0 && *at_++ != L'.') return --at_, Step::kBad;
      const Number number = TakeNumber(at_, kDecimal);
      if (number.digits == 0) return Step::kBad;
      if (number.digits > kMostDigits || number.value > kByte) return TooLong(L'.');
      bytes[i] = static_cast<std::uint16_t>(number.value);
    }
    groups_[count_++] = static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
    groups_[count_++] = static_cast<std::uint16_t>(bytes[2] << 8 | bytes[3]);
    return Step::kLast;
  }

  /// \return True when another group has to follow.
  bool TakeSeparator() {
    if (*at_ != L':' || count_ == kGroups) return false;
    if (at_[1] == L':') {
      if (gap_) return false;
      gap_ = count_;
      at_ += 2;
      return true;
    }
    if (!IsDigit(at_[1])) return false;
    ++at_;
    return true;
  }

  void Store(in6_addr& address) const {
    const std::size_t before = gap_.value_or(count_);
    std::array<std::uint16_t, kGroups> all{};
    for (std::size_t i = 0; i < before; ++i) all[i] = groups_[i];
    for (std::size_t i = before; i < count_; ++i) all[kGroups - count_ + i] = groups_[i];
    for (std::size_t i = 0; i < kGroups; ++i) {
      address.s6_addr[2 * i] = static_cast<std::uint8_t>(all[i] >> 8);
      address.s6_addr[2 * i + 1] = static_cast<std::uint8_t>(all[i] & 0xFF);
    }
  }

  const wchar_t* at_;
  std::array<std::uint16_t, kGroups> groups_{};
  std::size_t count_ = 0;
  std::optional<std::size_t> gap_;  ///< Number of groups before "::".
};

std::optional<SocketAddress> ParseIpv6Host(const wchar_t* text, const wchar_t** end) {
  constexpr unsigned kDecimal = 10;
  SocketAddress address{};
  const AddressParse parse = ParseIpv6Text(text, address.v6.sin6_addr);
  if (!parse.valid) return std::nullopt;
  address.v6.sin6_family = AF_INET6;
  *end = parse.end;
  if (**end != L'%') return address;
  ++*end;
  const Number scope = TakeNumber(*end, kDecimal);
  if (scope.digits == 0 || scope.value > std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  address.v6.sin6_scope_id = static_cast<std::uint32_t>(scope.value);
  return address;
}

/// \param end  Where an address in brackets has ended.
bool IsBracketWithPort(const wchar_t* end) {
  constexpr unsigned kDecimal = 10;
  constexpr std::uint64_t kMostPort = 65535;
  if (*end != L']') return false;
  if (*++end != L':') return *end == L'\0';
  const Number port = TakeNumber(++end, kDecimal);
  return port.digits > 0 && port.value <= kMostPort && *end == L'\0';
}

}  // namespace

AddressParse ParseIpv4Text(const wchar_t* text, bool strict, in_addr& address) {
  std::array<std::uint64_t, kParts> parts{};
  std::size_t count = 0;
  const wchar_t* at = text;
  while (true) {
    const std::optional<unsigned> base = TakeNumberBase(at, strict);
    if (!base) return {false, at};
    const Number number = TakeNumber(at, *base);
    if (number.digits == 0) return {false, at};
    parts[count++] = number.value;
    if (*at != L'.') break;
    if (count == kParts) return {false, at};
    ++at;
  }
  if ((strict && count != kParts) || !JoinParts(parts, count, address)) return {false, at};
  return {true, at};
}

AddressParse ParseIpv6Text(const wchar_t* text, in6_addr& address) {
  return Ipv6Text(text).Read(address);
}

std::optional<SocketAddress> ParseHostText(const std::wstring& text) {
  SocketAddress address{};
  const AddressParse parse = ParseIpv4Text(text.c_str(), false, address.v4.sin_addr);
  if (parse.valid && *parse.end == L'\0') {
    address.v4.sin_family = AF_INET;
    return address;
  }
  const bool inBrackets = text.starts_with(L'[');
  const wchar_t* end = nullptr;
  const auto ipv6 = ParseIpv6Host(text.c_str() + (inBrackets ? 1 : 0), &end);
  if (!ipv6) return std::nullopt;
  return (inBrackets ? IsBracketWithPort(end) : *end == L'\0') ? ipv6 : std::nullopt;
}

}  // namespace Lab
