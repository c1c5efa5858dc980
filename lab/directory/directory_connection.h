// One connection to an LDAP server, over the host's libldap.
//
// libldap has names of its own for half of what winldap.h declares (ldap_unbind, ldap_connect,
// ber_free), with other arguments. Neither linker nor compiler gets to see the two as one: the
// lab's functions have the linkage of C++, libldap's that of C, and libldap's headers are included
// by the source of this file alone, while winldap.h is by everything else.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "machine/address_map.h"

namespace Lab {

struct DirectoryAttribute {
  std::wstring name;
  std::vector<std::wstring> values;
};

struct DirectoryEntry {
  std::vector<DirectoryAttribute> attributes;
};

/// Result codes are those of winldap.h; 0 is success.
class DirectoryConnection {
 public:
  struct Settings {
    std::vector<HostPort> addresses;  ///< Tried in this order. Real ones, by number.
    int version = 2;                  ///< Of the protocol.
    bool tls = false;
    /// Asked once, after the handshake, with the server's certificate as DER. Set with \c tls.
    std::function<bool(const std::vector<std::byte>& certificate)> accepts{};
    std::chrono::milliseconds timeout{};  ///< Of the host, for connection and handshake together.
  };

  explicit DirectoryConnection(Settings settings);
  DirectoryConnection(const DirectoryConnection&) = delete;
  DirectoryConnection& operator=(const DirectoryConnection&) = delete;
  ~DirectoryConnection();

  /// Connects, with the handshake; without effect on a connection that stands.
  unsigned Connect();

  /// A simple bind. Connects first where that isn't done yet, as Search does. Waits without limit.
  unsigned Bind(const std::wstring& name, const std::wstring& password);

  /// Reads the root entry.
  unsigned SearchRoot(const std::wstring& filter, const std::vector<std::wstring>& attributes,
                      std::vector<DirectoryEntry>& entries);

 private:
  class Session;

  unsigned Open();

  Settings settings_;
  std::unique_ptr<Session> session_;
};

}  // namespace Lab
