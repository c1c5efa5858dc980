// Stand-ins for the checks of credentials and the inventory query, which a test decides and sees.
#pragma once

#include <string>
#include <vector>

namespace Halvard::Testing {

/// The one password that every check accepts.
inline constexpr wchar_t kAcceptedPassword[] = L"right \u00e4\u6771\u4eac";

/// The calls so far, as "Name(argument, argument ...)", oldest first.
std::vector<std::string>& CheckCalls();

/// The variable of the machine by which a test gives the inventory: "hosts machines". Without it
/// the query fails.
inline constexpr wchar_t kInventoryVariable[] = L"SCRIPTED_INVENTORY";

/// The variable by which a test has the agent's entry in a Kelvane Server fail: "register" or
/// "unregister".
inline constexpr wchar_t kExtensionFailureVariable[] = L"SCRIPTED_EXTENSION_FAILURE";

/// The variable by which a test has the checks before the migration fail, "checks", or the one of
/// the gateway, "gateway". Each of the two leaves a line in the log.
inline constexpr wchar_t kCheckFailureVariable[] = L"SCRIPTED_CHECK_FAILURE";

/// The variable by which a test gives the address of the machine, which is its system name as well.
/// Without it none is known.
inline constexpr wchar_t kAddressVariable[] = L"SCRIPTED_ADDRESS";

/// The variable by which a test gives a system name beside the address.
inline constexpr wchar_t kNameVariable[] = L"SCRIPTED_NAME";

}  // namespace Halvard::Testing
