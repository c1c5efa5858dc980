// The client against a Kelvane Server of the lab that misbehaves by plan.
#include "client_test.h"
#include "serverclient/credentials.h"
#include "serverclient/inventory_size.h"
#include "support/kelvane_server.h"

namespace Halvard::ServerClient {
namespace {

using Lab::KelvaneServer;
using testing::IsEmpty;

class AgainstFaults : public ClientTest {
 protected:
  static bool Validate(const KelvaneServer& server, const std::string& tunnelPath = "") {
    return ValidateKvAdminCredentials("127.0.0.1", server.Port(), tunnelPath, server.Thumbprint(),
                                      KelvaneServer::kUser, KelvaneServer::kPassword);
  }

  /// A server on which each of the operations goes wrong in the same way.
  static Json::Value With(const std::vector<const char*>& operations, const char* kind,
                          const char* member = nullptr, const Json::Value& value = {}) {
    Json::Value config = KelvaneServer::UsualConfig();
    for (const char* operation : operations) {
      Json::Value fault;
      fault["operation"] = operation;
      fault["kind"] = kind;
      if (member != nullptr) fault[member] = value;
      config["faults"].append(fault);
    }
    return config;
  }
};

TEST_F(AgainstFaults, ServerWithAnotherCertificateInTheTunnelIsAskedNothing) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["connectionFaults"][0]["kind"] = "certificate";
  const KelvaneServer server(config);

  EXPECT_FALSE(Validate(server, "/sdkTunnel"));
  EXPECT_EQ(server.Events("tunnel").size(), 1u);
  EXPECT_THAT(server.Events("request"), IsEmpty());
}

TEST_F(AgainstFaults, AnswersByteByByteAreAnswers) {
  const KelvaneServer server(
      With({"RetrieveContent", "Login", "Logout", "RetrieveProperties"}, "pieces", "bytes", 1));
  std::int32_t hosts = 0;
  std::int32_t machines = 0;

  EXPECT_TRUE(GetInventorySize("127.0.0.1", server.Port(), "", server.Thumbprint(),
                               KelvaneServer::kUser, KelvaneServer::kPassword, hosts, machines));
  EXPECT_EQ(hosts, 12);
  EXPECT_EQ(machines, 57);
}

TEST_F(AgainstFaults, ServerThatClosesBehindEachAnswerIsReachedAnew) {
  const KelvaneServer server(With({"RetrieveContent", "Login", "Logout"}, "close"));

  EXPECT_TRUE(Validate(server));
  EXPECT_TRUE(Validate(server, "/sdkTunnel"));
  EXPECT_THAT(server.Refusals(), IsEmpty());
  for (const Json::Value& line : server.Events("request")) EXPECT_EQ(line["request"].asInt(), 1);
}

TEST_F(AgainstFaults, CutAnswerIsAFailureWhereverItIsCut) {
  for (const int bytes : {0, 1, 15, 60, 120, 300}) {
    for (const char* operation : {"RetrieveContent", "Login", "Logout"}) {
      const KelvaneServer server(With({operation}, "cut", "afterBytes", bytes));
      EXPECT_FALSE(Validate(server)) << operation << " " << bytes;
    }
  }
}

TEST_F(AgainstFaults, GarbageIsAFailure) {
  for (const char* text : {"", "<a>", "<!DOCTYPE a><a/>", "{}"}) {
    const KelvaneServer server(With({"RetrieveContent"}, "garbage", "text", text));
    EXPECT_FALSE(Validate(server)) << text;
  }
}

TEST_F(AgainstFaults, AnswerBeyond64MebibytesIsAFailure) {
  Json::Value config = With({"RetrieveContent"}, "garbage", "text", std::string(1024, ' '));
  config["faults"][0]["times"] = 64 * 1024 + 1;
  const KelvaneServer server(config);

  EXPECT_FALSE(Validate(server));
}

TEST_F(AgainstFaults, ExpiredSessionIsAFailure) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["session"]["requests"] = 0;
  const KelvaneServer server(config);

  EXPECT_FALSE(Validate(server));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

}  // namespace
}  // namespace Halvard::ServerClient
