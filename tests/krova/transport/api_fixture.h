// A server with the API's resource over a provider that the test plays.
#pragma once

#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/trivial.hpp>
#include <functional>
#include <memory>
#include <string>

#include "krova/core/contract.h"
#include "krova/data/value.h"
#include "krova/transport/http/request_handler.h"
#include "server_fixture.h"

namespace Krova::Testing {

/// What a test makes of a call.
struct Call {
  std::shared_ptr<const Core::MethodIdentifier> method;
  std::shared_ptr<const Data::DataValue> input;
  std::shared_ptr<Core::AsyncActivation> activation;
  Core::ProviderCompletion completion;

  void Finish(const std::string& output) const {
    completion(std::make_shared<Core::MethodResult>(std::make_shared<Data::StringValue>(output)),
               kFinished);
  }
  void Report(const Progress& progress) const { completion(nullptr, progress); }
};

class PlayedProvider : public Core::AsyncApiProvider {
 public:
  std::string GetName() const override { return "PlayedProvider"; }
  void Invoke(const std::shared_ptr<const Core::MethodIdentifier>& method,
              const std::shared_ptr<const Data::DataValue>& input,
              const std::shared_ptr<Core::AsyncActivation>& activation,
              const Core::ProviderCompletion& completion) override {
    play({method, input, activation, completion});
  }

  std::function<void(const Call&)> play = [](const Call& call) { call.Finish("done"); };
};

inline constexpr char kJson[] = "Content-Type: application/json\r\n";
inline constexpr char kAcceptFrames[] = "Accept: application/vnd.ostrel.krova.framed\r\n";
/// A whole request of the operation "o" of the service "s".
inline constexpr char kRequest[] =
    R"({"jsonrpc":"2.0","id":"7","method":"invoke","params":{"serviceId":"s","operationId":"o",)"
    R"("input":"in","ctx":{}}})";
/// The answer when the provider finishes with "done".
inline constexpr char kDone[] = R"({"jsonrpc":"2.0","id":"7","result":{"output":"done"}})";

class ApiFixture : public pion_test::server_fixture {
 protected:
  explicit ApiFixture(std::uint32_t threads = 1) : server_fixture(threads) {
    // As the program has it; else the records of every step would go to the console.
    boost::log::core::get()->set_filter(boost::log::trivial::severity >= boost::log::trivial::info);
    AddApi();
  }
  // Before the provider: handlers that still run use it.
  ~ApiFixture() override { server_.reset(); }

  void AddApi() {
    server_->set_dispatch_after_headers(true);
    server_->add_resource("/api",
                          Transport::Http::PionHttpServerRequestHandler(provider_, MakeExecutor()));
  }

  Core::Executor MakeExecutor() {
    return [this](const boost::function<void()>& work) { scheduler_.post(work); };
  }

  static std::string MakeRequest(const std::string& headers, const std::string& body = kRequest) {
    return "POST /api HTTP/1.1\r\nHost: h\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  }

  /// Sends the bytes and gives all that comes back up to the end of the connection.
  std::string Exchange(const std::string& bytes) {
    if (!server_->is_listening()) start();
    pion_test::test_client client(server_->get_port());
    client.send(bytes);
    const std::string answer = client.read_all();
    EXPECT_FALSE(client.timed_out());
    EXPECT_EQ(client.end(), boost::asio::error::eof);
    return answer;
  }

  std::shared_ptr<PlayedProvider> provider_ = std::make_shared<PlayedProvider>();
};

/// One frame in one chunk.
inline std::string Chunk(const std::string& payload) {
  const auto hex = [](std::size_t number) {
    char digits[20];
    return std::string(
        digits, static_cast<std::size_t>(std::snprintf(digits, sizeof(digits), "%zx", number)));
  };
  const std::string frame = hex(payload.size()) + "\r\n" + payload + "\r\n";
  return hex(frame.size()) + "\r\n" + frame + "\r\n";
}

}  // namespace Krova::Testing
