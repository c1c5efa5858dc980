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

  /// \return True when \p text is one of the domain's names, in any case.
  bool IsNamed(std::wstring_view text) const;
};

/// \param accounts  The description's member, already tested against the schema.
std::vector<Account> ReadAccounts(const Json::Value& accounts);

/// \param domain  The description's member; null for a machine outside a domain.
std::optional<Domain> ReadDomain(const Json::Value& domain);

}  // namespace Lab
