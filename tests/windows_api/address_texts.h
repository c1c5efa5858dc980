// What a name leads to, as text.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support.h"

namespace WindowsApi {

/// Asks GetAddrInfoW. \param texts  Receives the addresses, in their order.
/// \return Its result.
inline INT LookUp(const wchar_t* name, int family, int flags, std::vector<std::wstring>& texts) {
  struct FreeList {
    void operator()(PADDRINFOW list) const { FreeAddrInfoW(list); }
  };
  ADDRINFOW hints = {};
  hints.ai_family = family;
  hints.ai_flags = flags;
  PADDRINFOW list = nullptr;
  const INT code = GetAddrInfoW(name, nullptr, &hints, &list);
  const std::unique_ptr<ADDRINFOW, FreeList> owner(list);
  texts.clear();
  for (const ADDRINFOW* entry = list; entry != nullptr; entry = entry->ai_next) {
    wchar_t text[NI_MAXHOST] = {};
    EXPECT_EQ(GetNameInfoW(entry->ai_addr, static_cast<socklen_t>(entry->ai_addrlen), text,
                           NI_MAXHOST, nullptr, 0, NI_NUMERICHOST),
              0);
    texts.emplace_back(text);
  }
  return code;
}

}  // namespace WindowsApi
