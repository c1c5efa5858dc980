// What machine.json says, in the types of the program. The schema beside the machines
// (lab/machines/machine.schema.json) explains each member.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <json/value.h>

#include "machine/accounts.h"
#include "machine/adapters.h"
#include "machine/address_map.h"
#include "machine/call_census.h"
#include "machine/clock.h"
#include "machine/faults.h"
#include "machine/file_versions.h"
#include "machine/firewall.h"
#include "machine/folders.h"
#include "machine/name_service.h"
#include "machine/services.h"
#include "machine/variables.h"

namespace Lab {

/// A machine can't be had as described. what() is one line for a person: the file, the place in the
/// document and what was expected there.
class MachineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Product {
  std::wstring productCode;
  std::wstring upgradeCode;
  std::map<std::wstring, std::wstring> properties;
};

struct Group {
  std::wstring sid;  ///< "S-1-5-32-544"
  /// Held only to be refused by: never a membership. The unelevated half of an administrator.
  bool denyOnly = false;
};

struct EndPoint {
  std::wstring address;  ///< IPv4, "0.0.0.0" for all.
  std::uint16_t port = 0;
  std::uint32_t state = 2;  ///< By the numbers of MIB_TCP_STATE; of no meaning for UDP.
};

/// How the shell's copies into zip files go, as the copying program sees it.
struct ZipCopying {
  enum class Manner {
    kVisible,    ///< A thread copies and then ends.
    kQuick,      ///< It is over when the call returns; no thread is ever seen.
    kLate,       ///< The thread shows a millisecond after the call has returned.
    kInvisible,  ///< The thread is never seen.
    kLingering,  ///< The thread stays when its work is done.
    kEndless     ///< The thread stands still before its work.
  };

  Manner manner = Manner::kVisible;
  std::uint32_t milliseconds = 0;  ///< From the call until the files are written, at the least.
  bool moduleCounted = true;       ///< The loads of the module that copies are counted.
};

struct Description {
  std::wstring computerName;
  std::wstring fullName;  ///< Its DNS name with the primary suffix.
  std::uint16_t uiLanguage = 1033;
  std::uint32_t sessionId = 1;

  std::wstring userName;  ///< DOMAIN\user
  std::wstring userSid;
  std::vector<Group> groups;
  std::wstring
      defaultOwner;  ///< SID of whom the user's new objects belong to; empty for the usual.

  /// \return True when the user is of the SID: himself, or by a group that isn't there to deny.
  bool UserIsOf(std::wstring_view wanted) const;
  bool UserIsAdministrator() const;

  std::vector<Account> accounts;
  std::optional<Domain> domain;  ///< Nothing for a machine of a workgroup.
  std::wstring computerSid;

  Services services;

  std::wstring programPath;  ///< Where the agent's program lies.
  std::wstring currentDirectory;

  Variables systemVariables;
  Variables processVariables;  ///< The agent's environment: system, user and its own, merged.

  /// The environment that the user has by default: system and user, without the agent's own.
  Variables userVariables;

  /// Programs of the host that run in place of program files with these names.
  std::map<std::wstring, std::string, LessNoCase> programs;

  Folders folders;
  std::map<std::string, std::wstring> knownFolders;  ///< By name: "LocalAppData", "Desktop".
  FileVersions fileVersions;
  std::vector<Product> products;
  bool installerBusy = false;  ///< Somebody else has the installer at work.

  /// Bytes that are left on drives, by their letters in upper case. Of others the host decides.
  std::map<wchar_t, std::uint64_t> freeBytes;

  std::vector<EndPoint> tcp;
  std::vector<EndPoint> udp;
  bool hostEndPoints = false;  ///< The tables hold what the host's kernel knows as well.

  /// A shutdown with a time of grace has to close the caller's programs too.
  bool graceNeedsForceSelf = false;

  std::vector<Adapter> adapters;
  bool hostAdapters = false;  ///< The adapters are the host's; the list is empty then.
  NameService nameService;
  AddressMap addressMap;

  Firewall firewall;

  ZipCopying zipCopying;

  Clock::Settings clock;
  std::vector<Fault> faults;
  CensusKind census = CensusKind::kNone;
};

/// Reads a JSON document.
/// \throw MachineError with line and column when it isn't one.
Json::Value ReadJson(const std::filesystem::path& file);

/// Tests a whole description (with nothing left to a base) against the schema, and what the schema
/// can't tell.
/// \param file  Named in messages only.
/// \throw MachineError for the first fault found.
Description ParseDescription(const Json::Value& document, const std::filesystem::path& file);

/// Reads machine.json of an instance, and tests it unless a program has found it valid as it is.
/// \throw MachineError for the first fault found.
Description ReadDescription(const std::filesystem::path& instance);

}  // namespace Lab
