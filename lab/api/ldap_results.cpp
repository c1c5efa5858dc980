// Results of LDAP searches, and what the program gives back of them.
#include <algorithm>
#include <utility>

#include "api/ldap_objects.h"
#include "directory/owned_objects.h"
#include "machine/call.h"
#include "machine/text.h"
#include "winber.h"

namespace {

/// Texts, and the list of them that ends in null.
struct Values {
  explicit Values(std::vector<std::wstring> values) : texts(std::move(values)) {
    for (std::wstring& text : texts) list.push_back(text.data());
    list.push_back(nullptr);
  }
  std::vector<std::wstring> texts;
  std::vector<PWCHAR> list;
};

struct Certificate {
  std::vector<std::byte> der;
  CERT_CONTEXT context{};
};

bool IsEntryOfSomeResult(const LDAP* session, const LDAPMessage* entry) {
  return Lab::DirectoryObjects().Holds(Lab::kLdapSession, session) && entry != nullptr;
}

PWCHAR HandOutText(const std::wstring& text) {
  const std::shared_ptr<WCHAR[]> copy(new WCHAR[text.size() + 1]());
  text.copy(copy.get(), text.size());
  Lab::DirectoryObjects().Add(Lab::kLdapText, copy.get(), copy);
  return copy.get();
}

}  // namespace

PCCERT_CONTEXT Lab::HandOutCertificate(std::vector<std::byte> der) {
  const auto certificate = std::make_shared<Certificate>();
  certificate->der = std::move(der);
  certificate->context.dwCertEncodingType = X509_ASN_ENCODING;
  certificate->context.pbCertEncoded = reinterpret_cast<BYTE*>(certificate->der.data());
  certificate->context.cbCertEncoded = static_cast<DWORD>(certificate->der.size());
  DirectoryObjects().Add(kCertificate, &certificate->context, certificate);
  return &certificate->context;
}

BOOL WINAPI CertFreeCertificateContext(PCCERT_CONTEXT certificate) {
  const Lab::Call call("CertFreeCertificateContext");
  if (certificate == nullptr) return TRUE;
  LAB_SUPPORTS(Lab::DirectoryObjects().Release(Lab::kCertificate, certificate));
  return TRUE;
}

LDAPMessage* LDAPAPI ldap_first_entry(LDAP* session, LDAPMessage* result) {
  const Lab::Call call("ldap_first_entry");
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error), nullptr;
  LAB_SUPPORTS(Lab::DirectoryObjects().Holds(Lab::kLdapSession, session));
  LAB_SUPPORTS(Lab::DirectoryObjects().Holds(Lab::kLdapResult, result));
  Lab::EndLdapCall(LDAP_SUCCESS);
  return result->entries.empty() ? nullptr : &result->entries.front();
}

PWCHAR LDAPAPI ldap_first_attributeW(LDAP* session, LDAPMessage* entry, BerElement** position) {
  const Lab::Call call("ldap_first_attributeW");
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error), nullptr;
  LAB_SUPPORTS(IsEntryOfSomeResult(session, entry) && position != nullptr);
  Lab::EndLdapCall(LDAP_SUCCESS);
  // An entry without attributes is no error, and leaves the position as it was.
  if (entry->entry.attributes.empty()) return nullptr;
  const auto element = std::make_shared<LabBerElement>();
  Lab::DirectoryObjects().Add(Lab::kBerElement, element.get(), element);
  *position = element.get();
  return HandOutText(entry->entry.attributes.front().name);
}

PWCHAR* LDAPAPI ldap_get_valuesW(LDAP* session, LDAPMessage* entry, const PWCHAR attribute) {
  const Lab::Call call("ldap_get_valuesW", attribute == nullptr ? L"" : attribute);
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error), nullptr;
  LAB_SUPPORTS(IsEntryOfSomeResult(session, entry) && attribute != nullptr);
  const auto& attributes = entry->entry.attributes;
  const auto found = std::find_if(attributes.begin(), attributes.end(), [&](const auto& candidate) {
    return Lab::EqualNoCase(candidate.name, attribute);
  });
  if (found == attributes.end()) return Lab::EndLdapCall(LDAP_NO_SUCH_ATTRIBUTE), nullptr;
  const auto values = std::make_shared<Values>(found->values);
  Lab::DirectoryObjects().Add(Lab::kLdapValues, values->list.data(), values);
  Lab::EndLdapCall(LDAP_SUCCESS);
  return values->list.data();
}

ULONG LDAPAPI ldap_value_freeW(PWCHAR* values) {
  const Lab::Call call("ldap_value_freeW");
  LAB_SUPPORTS(values == nullptr || Lab::DirectoryObjects().Release(Lab::kLdapValues, values));
  return Lab::EndLdapCall(call.PlannedError().value_or(LDAP_SUCCESS));
}

void LDAPAPI ldap_memfreeW(PWCHAR text) {
  const Lab::Call call("ldap_memfreeW");
  LAB_SUPPORTS(text == nullptr || Lab::DirectoryObjects().Release(Lab::kLdapText, text));
}

ULONG LDAPAPI ldap_msgfree(LDAPMessage* result) {
  const Lab::Call call("ldap_msgfree");
  LAB_SUPPORTS(result == nullptr || Lab::DirectoryObjects().Release(Lab::kLdapResult, result));
  return Lab::EndLdapCall(call.PlannedError().value_or(LDAP_SUCCESS));
}

void LDAPAPI ber_free(BerElement* element, INT freeBuffer) {
  const Lab::Call call("ber_free");
  LAB_SUPPORTS(freeBuffer == 0);
  LAB_SUPPORTS(element == nullptr || Lab::DirectoryObjects().Release(Lab::kBerElement, element));
}
