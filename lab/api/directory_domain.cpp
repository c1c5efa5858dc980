#include <algorithm>
#include <cstdlib>
#include <string>

#include "dsgetdc.h"
#include "lm.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "winerror.h"

namespace {

/// Lays \p text with its terminator at \p place, and moves that behind it.
LPWSTR Lay(const std::wstring& text, LPWSTR& place) {
  const LPWSTR laid = place;
  place = std::copy(text.begin(), text.end(), place);
  *place++ = L'\0';
  return laid;
}

PDOMAIN_CONTROLLER_INFOW MakeAnswer(const Lab::Domain& domain) {
  const std::wstring name = L"\\\\" + domain.controller->name;
  const std::wstring address = L"\\\\" + domain.controller->address;
  const std::size_t characters = name.size() + address.size() + domain.name.size() + 3;
  // One block, which the caller frees as a whole: the record, and behind it its texts.
  auto* const answer = static_cast<PDOMAIN_CONTROLLER_INFOW>(
      std::malloc(sizeof(DOMAIN_CONTROLLER_INFOW) + characters * sizeof(WCHAR)));
  if (answer == nullptr) return nullptr;
  auto place = reinterpret_cast<LPWSTR>(answer + 1);
  answer->DomainControllerName = Lay(name, place);
  answer->DomainControllerAddress = Lay(address, place);
  answer->DomainName = Lay(domain.name, place);
  return answer;
}

}  // namespace

DWORD WINAPI DsGetDcNameW(LPCWSTR computer, LPCWSTR domain, GUID* domainGuid, LPCWSTR site,
                          ULONG flags, PDOMAIN_CONTROLLER_INFOW* controller) {
  const Lab::Call call("DsGetDcNameW");
  if (const auto error = call.PlannedError()) return *error;
  LAB_SUPPORTS(computer == nullptr && domain == nullptr && domainGuid == nullptr &&
               site == nullptr && flags == DS_RETURN_DNS_NAME);
  if (controller == nullptr) return ERROR_INVALID_PARAMETER;
  const std::optional<Lab::Domain>& joined = Lab::TheMachine().Describe().domain;
  // A member that reaches no controller gets the answer of a machine outside any domain.
  if (!joined || !joined->controller ||
      Lab::TheMachine().DomainRefusal() == ERROR_NO_LOGON_SERVERS) {
    return ERROR_NO_SUCH_DOMAIN;
  }
  *controller = MakeAnswer(*joined);
  return *controller == nullptr ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

NET_API_STATUS WINAPI NetApiBufferFree(LPVOID buffer) {
  const Lab::Call call("NetApiBufferFree");
  if (const auto error = call.PlannedError()) return *error;
  std::free(buffer);
  return ERROR_SUCCESS;
}
