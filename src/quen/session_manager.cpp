#include "quen/session_manager.h"

#include "zelmo/member_reader.h"
#include "zelmo/soap_stub_adapter.h"

namespace Quen {
namespace {

const Zelmo::Type kType("SessionManager", Zelmo::NewStub<SessionManager>);

}  // namespace

const Zelmo::Type& SessionManager::StaticType() { return kType; }

UserSession SessionManager::Login(const std::string& userName, const std::string& password,
                                  const std::string& locale) const {
  const Zelmo::CallResults results =
      Adapter().Invoke(GetMoRef(), "Login", [&](Zelmo::MemberWriter& call) {
        call.Text("userName", userName);
        call.Text("password", password);
        call.Text("locale", locale);
      });
  Zelmo::MemberReader reader(results.One());
  UserSession session;
  session.key = reader.Text("key");
  session.userName = reader.Text("userName");
  session.locale = reader.Text("locale");
  session.loginTime = reader.Time("loginTime");
  reader.End();
  return session;
}

void SessionManager::Logout() const { Adapter().Invoke(GetMoRef(), "Logout").None(); }

}  // namespace Quen
