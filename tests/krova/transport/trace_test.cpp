#include <gmock/gmock.h>

#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/trivial.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>
#include <future>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "krova/transport/api_fixture.h"
#include "krova/transport/http/trace.h"

namespace Krova::Testing {
namespace {

namespace logging = boost::log;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

using Record = std::pair<logging::trivial::severity_level, std::string>;

/// Keeps what is logged.
class KeepingBackend
    : public logging::sinks::basic_formatted_sink_backend<char,
                                                          logging::sinks::synchronized_feeding> {
 public:
  void consume(const logging::record_view& record, const std::string& text) {
    const std::lock_guard lock(mutex_);
    records_.emplace_back(*record[logging::trivial::severity], text);
  }
  std::vector<Record> Take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(records_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Record> records_;
};

class Trace : public ApiFixture {
 protected:
  using Sink = logging::sinks::synchronous_sink<KeepingBackend>;

  Trace()
      : backend_(boost::make_shared<KeepingBackend>()), sink_(boost::make_shared<Sink>(backend_)) {
    logging::core::get()->reset_filter();
    logging::core::get()->add_sink(sink_);
  }
  ~Trace() override {
    server_.reset();
    scheduler_.shutdown();
    logging::core::get()->remove_sink(sink_);
  }

  /// Everything that was logged up to now, once the server is quiet.
  std::vector<Record> Records() {
    server_->stop();
    // Behind all that was handed to the one thread before.
    std::promise<void> reached;
    scheduler_.post([&] { reached.set_value(); });
    reached.get_future().wait();
    scheduler_.shutdown();
    return backend_->Take();
  }

  boost::shared_ptr<KeepingBackend> backend_;
  boost::shared_ptr<Sink> sink_;
};

std::vector<std::string> Texts(const std::vector<Record>& records) {
  std::vector<std::string> texts;
  for (const auto& [level, text] : records) texts.push_back(text);
  return texts;
}

TEST_F(Trace, RequestIsOneRecord) {
  Exchange(MakeRequest(std::string(kJson) + "Accept: a/b\r\n"));
  const auto records = Records();
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.front().first, logging::trivial::trace);
  EXPECT_EQ(
      records.front().second,
      "Http Request received \nMethod: POST\nResource: /api\nIsValid: true\nIsChunked: false\n"
      "ContentLength: " +
          std::to_string(sizeof(kRequest) - 1) +
          "\nAccept: a/b\nContent-Type: application/json\nContent: ");
}

TEST_F(Trace, StepsOfARequestAreNamedInTheirOrder) {
  Exchange(MakeRequest(std::string(kJson) + kAcceptFrames));
  const auto records = Records();
  EXPECT_THAT(Texts(records),
              ElementsAre(StartsWith("Http Request received "), "HttpServerTransport created",
                          "Enqueue", "RecvTag::Start", "HandleFrame", "FrameHandledCb",
                          std::string("Frame content: ") + kRequest, "RecvTag::Next",
                          "Request received", "Enqueue", "SendTag::Start", "HandleFrame",
                          "FrameHandledCb", std::string("Frame content: ") + kDone, "SendTag::Next",
                          "Request handled", "HttpServerTransport destroyed"));
  for (const auto& [level, text] : records) EXPECT_EQ(level, logging::trivial::trace) << text;
}

TEST_F(Trace, InvalidRequestIsIgnoredAloud) {
  Exchange(MakeRequest("Content-Type: text/plain\r\n"));
  EXPECT_THAT(Texts(Records()),
              ElementsAre(StartsWith("Http Request received "), "Ignoring invalid request"));
}

TEST_F(Trace, RequestWithoutABodyIsReceivedAndHandled) {
  Exchange(std::string("POST /api HTTP/1.1\r\n") + kJson + "\r\n");
  const auto texts = Texts(Records());
  EXPECT_THAT(texts, IsSupersetOf({"Request received", "Request handled"}));
  EXPECT_THAT(texts, Not(Contains("SendTag::Start")));
}

TEST_F(Trace, FailureOfTheSocketIsToldWithItsCode) {
  start();
  {
    pion_test::test_client client(server_->get_port());
    client.send(std::string("POST /api HTTP/1.1\r\n") + kJson + "Content-Length: 100\r\n\r\nhalf");
    client.end_sending();
    client.read_all();
  }
  const auto records = Records();
  EXPECT_THAT(
      Texts(records),
      ElementsAre(StartsWith("Http Request received "), "HttpServerTransport created", "Enqueue",
                  "RecvTag::Start", "HandleFrame", "CommunicationError", "IO error: asio.misc:2",
                  "handle request error: Error:\n   system_error\nMessages:\n"
                  "   krova.recv.failed\n",
                  "HttpServerTransport destroyed"));
  EXPECT_THAT(records, Contains(Record(logging::trivial::debug, "IO error: asio.misc:2")));
}

TEST_F(Trace, FailedSendIsNamed) {
  provider_->play = [](const Call& call) { call.Finish(std::string(20000000, 'x')); };
  start();
  {
    pion_test::test_client client(server_->get_port());
    client.send(MakeRequest(std::string(kJson) + kAcceptFrames));
    client.read_until("\r\n\r\n");
    client.abort();
  }
  while (server_->get_connections() > 0) std::this_thread::yield();
  EXPECT_THAT(Texts(Records()),
              IsSupersetOf({"SendTag::Error", "CommunicationError",
                            "handle request error: Error:\n   system_error\nMessages:\n"
                            "   krova.send.failed\n"}));
}

TEST_F(Trace, NothingIsFormattedForARecordThatTheFilterDrops) {
  logging::core::get()->set_filter(logging::trivial::severity >= logging::trivial::info);
  bool formatted = false;
  const auto write = [&](std::ostream&) { formatted = true; };
  Transport::Http::LogTrace(write);
  Transport::Http::LogDebug(write);
  EXPECT_FALSE(formatted);
  Exchange(MakeRequest(kJson));
  EXPECT_THAT(Records(), IsEmpty());
  logging::core::get()->reset_filter();
  Transport::Http::LogTrace(write);
  EXPECT_TRUE(formatted);
}

}  // namespace
}  // namespace Krova::Testing
