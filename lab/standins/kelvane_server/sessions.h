// Sessions: who is logged in, and for how much longer.
#pragma once

#include <chrono>
#include <map>
#include <random>
#include <set>
#include <string>

#include "config.h"

namespace Lab::Kelvane {

struct Session {
  int number = 0;  ///< Names it in the journal; the first is 1.
  std::string user;
  int requests = 0;  ///< Served since the login.
  std::chrono::steady_clock::time_point lastUse;
};

class Sessions {
 public:
  explicit Sessions(const SessionLifetime& lifetime) : lifetime_(lifetime) {}

  /// \return The value of the cookie of a new session.
  std::string Open(const std::string& user);

  /// Finds the session of a request and counts the request. Throws SoapFault "NotAuthenticated":
  /// the client is to blame unless its session has expired. \param cookie  Empty: the request has
  /// none. \param expired  Receives the number of the session that has expired by now, or 0.
  Session& Use(const std::string& cookie, int& expired);

  const Session& Get(const std::string& cookie) const { return open_.at(cookie); }

  void Close(const std::string& cookie);

  std::size_t OpenCount() const { return open_.size(); }

 private:
  bool HasExpired(const Session& session) const;

  SessionLifetime lifetime_;
  std::map<std::string, Session> open_;
  std::set<std::string> expired_;
  int count_ = 0;
  std::random_device random_;
};

}  // namespace Lab::Kelvane
