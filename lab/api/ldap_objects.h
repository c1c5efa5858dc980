// What stands behind the pointers of the LDAP client.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "directory/directory_connection.h"
#include "winldap.h"

struct LabLdapSession {
  std::string hosts;  ///< As given: one or more, separated by blanks.
  std::uint16_t port = 0;
  int version = LDAP_VERSION2;
  bool tls = false;
  VERIFYSERVERCERT* verify = nullptr;
  /// Made at the first connect, when all options are known.
  std::unique_ptr<Lab::DirectoryConnection> connection;
};

/// A result, or one of its entries.
struct LabLdapMessage {
  Lab::DirectoryEntry entry;
  std::vector<LabLdapMessage> entries;
};

struct LabBerElement {};

namespace Lab {

// Kinds in DirectoryObjects().
inline constexpr char kLdapSession[] = "LdapSession";
inline constexpr char kLdapResult[] = "LdapResult";
inline constexpr char kLdapText[] = "LdapText";
inline constexpr char kLdapValues[] = "LdapValues";
inline constexpr char kBerElement[] = "BerElement";
inline constexpr char kCertificate[] = "Certificate";

/// Notes what LdapGetLastError answers on this thread. \return The same code.
ULONG EndLdapCall(ULONG code);

/// \return The certificate in the program's hands; CertFreeCertificateContext takes it back.
PCCERT_CONTEXT HandOutCertificate(std::vector<std::byte> der);

}  // namespace Lab
