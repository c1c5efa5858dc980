// Any bytes on a connection end in an answer or in silence, and the next request is served. Where
// the bytes are cut makes no difference to what is read.
#include <algorithm>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <boost/log/core.hpp>
#include <boost/log/trivial.hpp>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "krova/transport/http/request_handler.h"
#include "pion/http/parser.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"
#include "require.h"

namespace {

namespace asio = boost::asio;
using Krova::Core::MethodResult;

/// What a parser made of the bytes.
struct Outcome {
  pion::http::request request;
  boost::tribool result = boost::indeterminate;
  boost::system::error_code error;
  std::size_t unread = 0;
};

bool IsFinished(const Outcome& outcome) { return bool(outcome.result); }

void Feed(pion::http::parser& parser, std::string_view bytes, std::size_t piece, Outcome& outcome) {
  outcome.result = boost::indeterminate;
  while (!bytes.empty() && boost::indeterminate(outcome.result)) {
    const std::string part(bytes.substr(0, piece));
    parser.set_read_buffer(part.data(), part.size());
    outcome.result = parser.parse(outcome.request, outcome.error);
    bytes.remove_prefix(part.size());
    outcome.unread = parser.bytes_available() + bytes.size();
  }
}

/// Headers with one parser and the content with a second one, as the API reads its requests.
void ReadInTwoPhases(std::string_view bytes, std::size_t piece, Outcome& outcome) {
  pion::http::parser headers(true, 64);
  headers.parse_headers_only();
  Feed(headers, bytes, piece, outcome);
  if (!IsFinished(outcome)) return;
  pion::http::parser content(true, 64);
  content.skip_header_parsing(outcome.request);
  if (content.is_finished()) return;
  Feed(content, bytes.substr(bytes.size() - outcome.unread), piece, outcome);
}

void RequireEqual(const Outcome& left, const Outcome& right) {
  // A fault may be seen earlier or later, but no other bytes make a good request.
  Require(IsFinished(left) == IsFinished(right));
  if (!IsFinished(left)) return;
  const auto& one = left.request;
  const auto& other = right.request;
  Require(one.get_method() == other.get_method() && one.get_resource() == other.get_resource());
  Require(one.get_query_string() == other.get_query_string());
  Require(one.get_headers() == other.get_headers() && left.unread == right.unread);
  Require(one.get_content_length() == other.get_content_length());
  Require(std::equal(one.get_content(), one.get_content() + one.get_content_length(),
                     other.get_content()));
}

void CutAnywhere(std::string_view bytes, std::size_t piece) {
  Outcome whole;
  Outcome pieces;
  pion::http::parser one(true, 64);
  pion::http::parser other(true, 64);
  Feed(one, bytes, bytes.size(), whole);
  Feed(other, bytes, piece, pieces);
  RequireEqual(whole, pieces);
  Outcome phases;
  ReadInTwoPhases(bytes, piece, phases);
  RequireEqual(whole, phases);
}

/// The fuzzer looks at its clock in a signal each minute. A call of the client that it interrupts
/// would end with an error (signal(7)).
void GoOnBehindTheClock() {
  struct sigaction clock = {};
  sigaction(SIGALRM, nullptr, &clock);
  clock.sa_flags |= SA_RESTART;
  sigaction(SIGALRM, &clock, nullptr);
}

/// Ends each call with its own input.
class EchoProvider : public Krova::Core::AsyncApiProvider {
 public:
  std::string GetName() const override { return "EchoProvider"; }
  void Invoke(const std::shared_ptr<const Krova::Core::MethodIdentifier>&,
              const std::shared_ptr<const Krova::Data::DataValue>& input,
              const std::shared_ptr<Krova::Core::AsyncActivation>&,
              const Krova::Core::ProviderCompletion& completion) override {
    completion(nullptr, {0, 2, 1});
    completion(std::make_shared<MethodResult>(input), Krova::kFinished);
  }
};

/// The API's server, started once.
class Server {
 public:
  Server() : server_(scheduler_, {asio::ip::address_v4::loopback(), 0}) {
    GoOnBehindTheClock();
    boost::log::core::get()->set_logging_enabled(false);
    scheduler_.set_num_threads(1);
    // What the server's thread logs by is made before the server is, and goes after it.
    (void)boost::log::trivial::logger::get();
    server_.set_dispatch_after_headers(true);
    server_.add_resource(
        "/api", Krova::Transport::Http::PionHttpServerRequestHandler(
                    std::make_shared<EchoProvider>(),
                    [this](const boost::function<void()>& work) { scheduler_.post(work); }));
    server_.start();
  }

  /// Sends the bytes and the end of them, and gives all that comes back.
  std::string Exchange(std::string_view bytes) {
    asio::io_context service;
    asio::ip::tcp::socket socket(service);
    socket.connect(server_.get_endpoint());
    boost::system::error_code error;
    asio::write(socket, asio::buffer(bytes), error);
    socket.shutdown(asio::ip::tcp::socket::shutdown_send, error);
    std::string answer;
    asio::read(socket, asio::dynamic_buffer(answer), error);
    return answer;
  }

 private:
  pion::single_service_scheduler scheduler_;
  pion::http::server server_;
};

constexpr std::string_view kGoodRequest =
    "POST /api HTTP/1.1\r\nContent-Type: application/json\r\nContent-Length: 108\r\n\r\n"
    R"({"jsonrpc":"2.0","id":"1","method":"invoke","params":{"serviceId":"s","operationId":"o",)"
    R"("input":0,"ctx":{}}})";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  CutAnywhere(bytes, std::size_t{data[0]} % 64 + 1);

  static Server server;
  const std::string answer = server.Exchange(bytes);
  Require(answer.empty() || answer.starts_with("HTTP/1.1 "));
  static unsigned count = 0;
  if (++count % 64 == 0) Require(server.Exchange(kGoodRequest).ends_with("\"output\":0}}"));
  return 0;
}
