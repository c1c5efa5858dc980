#include "sessions.h"

#include <cstdio>

#include "soap_fault.h"

namespace Lab::Kelvane {

constexpr const char* kNotAuthenticated = "NotAuthenticated";

std::string Sessions::Open(const std::string& user) {
  std::string cookie;
  for (int i = 0; i < 5; ++i) {
    char digits[9];
    (void)std::snprintf(digits, sizeof(digits), "%08x", random_());
    cookie += digits;
  }
  open_[cookie] = {++count_, user, 0, std::chrono::steady_clock::now()};
  return cookie;
}

Session& Sessions::Use(const std::string& cookie, int& expired) {
  expired = 0;
  if (cookie.empty()) Refuse("The request has no session.", kNotAuthenticated);
  const auto entry = open_.find(cookie);
  if (entry != open_.end() && HasExpired(entry->second)) {
    expired = entry->second.number;
    expired_.insert(cookie);
    open_.erase(entry);
  } else if (entry != open_.end()) {
    ++entry->second.requests;
    entry->second.lastUse = std::chrono::steady_clock::now();
    return entry->second;
  }
  if (expired_.contains(cookie)) Deny(kNotAuthenticated, "The session has expired.");
  Refuse("There is no such session, or it has ended by its logout.", kNotAuthenticated);
}

void Sessions::Close(const std::string& cookie) { open_.erase(cookie); }

bool Sessions::HasExpired(const Session& session) const {
  if (lifetime_.requests && session.requests >= *lifetime_.requests) return true;
  const std::chrono::duration<double> idle = std::chrono::steady_clock::now() - session.lastUse;
  return lifetime_.seconds && idle.count() >= *lifetime_.seconds;
}

}  // namespace Lab::Kelvane
