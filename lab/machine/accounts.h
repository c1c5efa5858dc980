// The accounts that can be logged on with, and the domain that the machine belongs to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

namespace Lab {

struct Account {
  std::wstring domain;  ///< The computer's name, or either name of the domain.
  std::wstring name;
  std::wstring password;  ///< May be empty.
  /// The error of a logon that is otherwise right: 1331 disabled, 1330 expired and the like; 0 for
  /// an account that is in order.
  std::uint32_t refusal = 0;
  std::wstring sid{};
  std::vector<std::wstring> groups{};  ///< SIDs.
  bool mayLogOnAsService = false;

  /// \return True when the account is that of the SID or belongs to that group.
  bool IsOf(std::wstring_view wanted) const;
};

/// A controller of the domain.
struct DomainController {
  std::wstring name;     ///< dc1.corp.example
  std::wstring address;  ///< As the controller tells it: an address, or a short name.
};

/// The directory domain that the machine has joined.
struct Domain {
  std::wstring name;         ///< corp.example
  std::wstring netbiosName;  ///< CORP
  /// The error of every logon in the domain: 1311 when no controller can be reached, 1786 to 1789
  /// for a machine that the domain doesn't trust; 0 when all is well.
  std::uint32_t refusal = 0;
  std::optional<DomainController> controller;  ///< Nothing when none can be found.
  /// Milliseconds of the machine after a program's start for which nobody of the domain answers it.
  std::uint32_t answersAfter = 0;

  /// \return True when \p text is one of the domain's names, in any case.
  bool IsNamed(std::wstring_view text) const;
};

/// What identifiers of accounts in the domain begin with; the domain's own.
inline constexpr std::wstring_view kDomainSid = L"S-1-5-21-1004336348-1177238915-682003330";

/// \return What identifiers of the computer's accounts begin with, and its own: that of its user,
///         unless the user is one of a domain.
std::wstring ComputerSid(const std::wstring& computerName, const std::wstring& userName,
                         const std::wstring& userSid);

/// \param accounts  The description's member, already tested against the schema. An account without
///                  a SID gets one: the user's, or a number of its own behind its computer's or
///                  domain's.
/// \param userName  The machine's own user, DOMAIN\name.
std::vector<Account> ReadAccounts(const Json::Value& accounts, const std::wstring& computerName,
                                  const std::wstring& userName, const std::wstring& userSid);

/// \param domain  The description's member; null for a machine outside a domain.
std::optional<Domain> ReadDomain(const Json::Value& domain);

}  // namespace Lab
