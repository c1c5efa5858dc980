// Sessions of the Kelvane Server.
#pragma once

#include <string>

#include "tunrak/date_time.h"
#include "zelmo/managed_object.h"

namespace Quen {

struct UserSession {
  std::string key;
  std::string userName;
  std::string locale;
  Tunrak::System::DateTime loginTime;
};

class SessionManager : public Zelmo::ManagedObject {
 public:
  using ManagedObject::ManagedObject;
  static const Zelmo::Type& StaticType();

  /// Opens the session that all further calls through the same adapter belong to.
  /// \throws Zelmo::Fault  of type "InvalidLogin" for a wrong user or password.
  UserSession Login(const std::string& userName, const std::string& password,
                    const std::string& locale) const;
  void Logout() const;
};

}  // namespace Quen
