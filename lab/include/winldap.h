// The LDAP client. Functions that answer with a number answer the LDAP result code; the others
// answer null and leave it to LdapGetLastError.
#pragma once

#include <minwindef.h>
#include <wincrypt.h>

#define LDAPAPI
#define LDAP_SSL_PORT 636
#define LDAP_VERSION2 2
#define LDAP_VERSION3 3
#define LDAP_SCOPE_BASE 0x00
#define LDAP_AUTH_SIMPLE 0x80u

#define LDAP_OPT_SSL 0x0a
#define LDAP_OPT_VERSION 0x11
#define LDAP_OPT_SERVER_CERTIFICATE 0x81
#define LDAP_OPT_ON (reinterpret_cast<void*>(1))

enum LDAP_RETCODE {
  LDAP_SUCCESS = 0x00,
  LDAP_NO_SUCH_ATTRIBUTE = 0x10,
  LDAP_NO_SUCH_OBJECT = 0x20,
  LDAP_INVALID_CREDENTIALS = 0x31,
  LDAP_UNWILLING_TO_PERFORM = 0x35,
  LDAP_SERVER_DOWN = 0x51,
  LDAP_TIMEOUT = 0x55,
  LDAP_FILTER_ERROR = 0x57,
  LDAP_PARAM_ERROR = 0x59
};

// The tags differ from the system's: libldap, over which the lab has these calls, uses those
// itself.
struct LabLdapSession;
using LDAP = LabLdapSession;
using PLDAP = LDAP*;
struct LabLdapMessage;
using LDAPMessage = LabLdapMessage;
struct LabBerElement;
using BerElement = LabBerElement;
struct l_timeval;

/// The parameter for the certificate is declared so there as well; what really arrives is a
/// pointer to it, and the callback frees the certificate.
typedef BOOLEAN(LDAPAPI VERIFYSERVERCERT)(PLDAP session, PCCERT_CONTEXT certificate);

LDAP* LDAPAPI ldap_initW(const PWCHAR host, ULONG port);
ULONG LDAPAPI ldap_set_optionW(LDAP* session, int option, const void* value);
ULONG LDAPAPI ldap_connect(LDAP* session, l_timeval* timeout);
ULONG LDAPAPI ldap_bind_sW(LDAP* session, PWCHAR name, PWCHAR credentials, ULONG method);
ULONG LDAPAPI ldap_search_sW(LDAP* session, const PWCHAR base, ULONG scope, const PWCHAR filter,
                             PWCHAR attributes[], ULONG attributesOnly, LDAPMessage** result);
LDAPMessage* LDAPAPI ldap_first_entry(LDAP* session, LDAPMessage* result);
PWCHAR LDAPAPI ldap_first_attributeW(LDAP* session, LDAPMessage* entry, BerElement** position);
PWCHAR* LDAPAPI ldap_get_valuesW(LDAP* session, LDAPMessage* entry, const PWCHAR attribute);

ULONG LDAPAPI ldap_value_freeW(PWCHAR* values);
void LDAPAPI ldap_memfreeW(PWCHAR text);
ULONG LDAPAPI ldap_msgfree(LDAPMessage* result);
ULONG LDAPAPI ldap_unbind(LDAP* session);

/// \return The code of this thread's last call.
ULONG LDAPAPI LdapGetLastError();
