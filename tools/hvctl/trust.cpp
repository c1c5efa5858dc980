#include "trust.h"

#include <iostream>

#include "failure.h"

namespace Hvctl {
namespace {

[[noreturn]] void ThrowOtherCertificate(const std::string& shown, const std::string& expected,
                                        const std::string& wayOut) {
  throw Failure(ExitCode::kNotTrusted, "The agent shows another certificate.\n  expected " +
                                           expected + "\n  shown    " + shown + "\n" + wayOut);
}

void AskThePerson(const std::string& agent, const std::string& shown) {
  std::cerr << agent << " shows a certificate with this thumbprint:\n  " << shown
            << "\nIs it the one on the agent's console? (yes/no) " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "yes") throw Failure(ExitCode::kNotTrusted, "The certificate wasn't confirmed.");
}

}  // namespace

AgentConnection::TrustCheck MakeTrustCheck(const Endpoint& agent,
                                           const std::optional<std::string>& expected,
                                           const KnownAgents& known, bool interactive) {
  return [=](const std::string& shown) {
    const std::string name = agent.Text();
    if (expected) {
      if (shown == *expected) return;
      ThrowOtherCertificate(shown, *expected, "Compare --thumbprint with the agent's console.");
    }
    if (const std::optional<std::string> before = known.Find(name)) {
      if (shown == *before) return;
      ThrowOtherCertificate(shown, *before,
                            "The agent makes a new certificate at each start. If it was started "
                            "again, run `hvctl forget` for it and confirm the new one.");
    }
    if (!interactive) {
      throw Failure(ExitCode::kNotTrusted, name + " isn't known yet. Pass --thumbprint " + shown +
                                               " if that is what its console shows.");
    }
    AskThePerson(name, shown);
    known.Remember(name, shown);
  };
}

}  // namespace Hvctl
