#include "krova/transport/http/http_server_transport.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include "krova/data/message_value.h"
#include "krova/protocol/value_text.h"
#include "krova/transport/api_fixture.h"
#include "krova/transport/http/protocol_handler.h"
#include "krova/transport/http/remove_progress_provider.h"
#include "krova/transport/http/transport_error.h"

namespace Krova::Testing {
namespace {

using pion::http::request_ptr;
using pion::tcp::connection_ptr;
using pion_test::test_client;
using testing::HasSubstr;
using Transport::Http::FramedTransport;
using Transport::Http::StreamBuffer;
using Transport::Http::StreamBufferPointer;

StreamBufferPointer Filled(const std::string& text) {
  const auto buffer = std::make_shared<StreamBuffer>();
  buffer->sputn(text.data(), static_cast<std::streamsize>(text.size()));
  return buffer;
}

TEST(TransportCategory, HasItsNameAndTexts) {
  namespace Error = Transport::Http::Error;
  const auto& category = Error::transport_category();
  EXPECT_STREQ(category.name(), "Krova Transport Http");
  EXPECT_EQ(category.message(1), "invalid_frame_header");
  EXPECT_EQ(category.message(2), "incomplete_frame");
  EXPECT_EQ(category.message(3), "unsupported content");
  EXPECT_EQ(category.message(4), "protocol reset");
  EXPECT_EQ(category.message(0), "transport error");
  EXPECT_EQ(category.message(5), "transport error");
  EXPECT_EQ(Error::MakeTransportError(Error::kProtocolReset).value(), 4);
}

TEST(StreamBuffer, ReadsWhatWasWrittenAlsoInTurns) {
  StreamBuffer buffer;
  EXPECT_EQ(buffer.sgetc(), StreamBuffer::traits_type::eof());
  buffer.sputn("abc", 3);
  EXPECT_EQ(buffer.sbumpc(), 'a');
  buffer.sputc('d');
  const std::string large(100000, 'x');
  buffer.sputn(large.data(), static_cast<std::streamsize>(large.size()));
  EXPECT_EQ(buffer.in_avail(), 100003);
  std::string read(100003, '\0');
  EXPECT_EQ(buffer.sgetn(read.data(), 200000), 100003);
  EXPECT_EQ(read, "bcd" + large);
}

TEST(StreamBuffer, IsEmptyOnceItWasReadToItsEnd) {
  const StreamBufferPointer buffer = Filled("abc");
  std::string read(3, '\0');
  buffer->sgetn(read.data(), 3);
  EXPECT_EQ(buffer->GetText(), "abc");
  EXPECT_EQ(buffer->sgetc(), StreamBuffer::traits_type::eof());
  EXPECT_EQ(buffer->GetText(), "");
  buffer->sputn("de", 2);
  EXPECT_EQ(buffer->GetText(), "de");
  EXPECT_EQ(buffer->sbumpc(), 'd');
}

TEST(FailFrames, TellsEachFrameOnceAndEmptiesTheQueue) {
  Transport::Http::FrameQueue queue;
  std::vector<std::string> told;
  for (int i = 0; i < 3; ++i) {
    queue.push_back({Filled("x"), [&](const auto& error, std::size_t bytes) {
                       EXPECT_EQ(bytes, 0u);
                       told.push_back(WriteValue(error));
                     }});
  }
  FailFrames(queue, "krova.send.failed", boost::asio::error::connection_reset);
  EXPECT_TRUE(queue.empty());
  ASSERT_EQ(told.size(), 3u);
  for (const std::string& text : told) {
    EXPECT_EQ(
        text,
        R"({"ERROR":{"system_error":{"messages":[{"STRUCTURE":{"krova.core.runtime.message":)"
        R"({"args":["Connection reset by peer"],"default_message":"Send of frame failed: %1%",)"
        R"("id":"krova.send.failed"}}}]}}})");
  }
}

/// A resource whose handler hands a framed transport to the test.
class SendQueue : public ApiFixture {
 protected:
  using TransportPointer = std::shared_ptr<FramedTransport>;

  SendQueue() {
    server_->add_resource(
        "/raw", [this](const request_ptr& request, const connection_ptr& connection) {
          const auto writer = pion::http::response_writer::create(connection, *request);
          made_.set_value(std::make_shared<FramedTransport>(connection->get_io_service(), request,
                                                            connection, writer));
        });
  }

  TransportPointer Open(test_client& client) {
    client.send("POST /raw HTTP/1.1\r\nContent-Length: 100\r\n\r\n");
    return made_.get_future().get();
  }

  /// Counts the ends of sends, all of which are begun before the wait.
  class Ends {
   public:
    Transport::Http::FrameCallback Count() {
      ++begun_;
      return [this](const auto& error, std::size_t) {
        const std::lock_guard lock(mutex_);
        ++(error == nullptr ? good_ : bad_);
        changed_.notify_all();
      };
    }
    /// False if one of them doesn't end within a time that no healthy program needs.
    bool Wait() {
      std::unique_lock lock(mutex_);
      return changed_.wait_for(lock, std::chrono::seconds(30),
                               [this] { return good_ + bad_ == begun_; });
    }
    int Bad() {
      const std::lock_guard lock(mutex_);
      return bad_;
    }
    int All() {
      const std::lock_guard lock(mutex_);
      return good_ + bad_;
    }

   private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int begun_ = 0;
    int good_ = 0;
    int bad_ = 0;
  };

  std::promise<TransportPointer> made_;
};

TEST_F(SendQueue, FailsEachQueuedFrameOnceWhenTheClientIsGone) {
  test_client client(start());
  TransportPointer transport = Open(client);
  Ends ends;
  const auto large = Filled(std::string(1000000, 'x'));
  for (int i = 0; i < 40; ++i) transport->Send(large, ends.Count());
  client.read_until("\r\n\r\n");
  client.abort();
  ASSERT_TRUE(ends.Wait());
  EXPECT_GT(ends.Bad(), 0);

  // Later ones fail as well, and nothing of them is written: the socket is closed.
  Ends later;
  transport->Send(large, later.Count());
  ASSERT_TRUE(later.Wait());
  EXPECT_EQ(later.Bad(), 1);

  transport.reset();
  server_->stop();
  EXPECT_EQ(ends.All(), 40);
  EXPECT_EQ(later.All(), 1);
}

TEST_F(SendQueue, FailsEachQueuedFrameOnceWhenTheServerStops) {
  test_client client(start());
  TransportPointer transport = Open(client);
  Ends ends;
  const auto large = Filled(std::string(1000000, 'x'));
  for (int i = 0; i < 40; ++i) transport->Send(large, ends.Count());
  client.read_until("\r\n\r\n");
  std::thread stopper([&] { server_->stop(); });
  ASSERT_TRUE(ends.Wait());
  EXPECT_GT(ends.Bad(), 0);
  transport.reset();
  stopper.join();
  EXPECT_EQ(ends.All(), 40);
}

TEST_F(SendQueue, FailedReadIsToldAsAFailureToReceive) {
  test_client client(start());
  TransportPointer transport = Open(client);
  std::promise<std::string> told;
  transport->Recv(std::make_shared<StreamBuffer>(), [&](const auto& error, std::size_t bytes) {
    EXPECT_EQ(bytes, 0u);
    told.set_value(WriteValue(error));
  });
  client.end_sending();
  const std::string text = told.get_future().get();
  EXPECT_THAT(text, HasSubstr("system_error"));
  EXPECT_THAT(text, HasSubstr("Receive of frame failed"));
  EXPECT_THAT(text, HasSubstr("End of file"));
}

TEST_F(SendQueue, CallbacksRunOnTheSchedulerOutsideOfTheStrand) {
  test_client client(start());
  TransportPointer transport = Open(client);
  std::promise<std::pair<bool, bool>> told;
  transport->Send(Filled("text"), [&](const auto&, std::size_t) {
    told.set_value(
        {scheduler_.runs_on_this_thread(), transport->GetStrand().running_in_this_thread()});
  });
  EXPECT_EQ(told.get_future().get(), std::pair(true, false));
}

TEST_F(SendQueue, TellsTheBytesOfAFrame) {
  test_client client(start());
  TransportPointer transport = Open(client);
  std::promise<std::size_t> told;
  transport->Send(Filled("{\"a\":1}"), [&](const auto&, std::size_t) {});
  transport->Send(Filled("{\"a\":1}"),
                  [&](const auto&, std::size_t bytes) { told.set_value(bytes); });
  client.read_until("\r\n\r\n");
  EXPECT_EQ(client.read_until("}\r\n\r\n"), "c\r\n7\r\n{\"a\":1}\r\n\r\n");
  // The chunk's own line, the frame and the line's end.
  EXPECT_EQ(told.get_future().get(), 17u);
}

/// A serializer that refuses everything.
class RefusingSerializer : public Core::ApiResponseSerializer {
 public:
  bool SerializeResult(const std::string&, const std::shared_ptr<Core::MethodResult>&,
                       std::streambuf&, std::shared_ptr<const Data::ErrorValue>& error) override {
    error = Data::MakeErrorValue("refused", {});
    return true;
  }
  bool SerializeProgress(const std::string&, const Progress&, std::streambuf&,
                         std::shared_ptr<const Data::ErrorValue>& error) override {
    error = Data::MakeErrorValue("refused progress", {});
    return true;
  }
  bool SerializeError(const std::shared_ptr<const Data::ErrorValue>&, std::streambuf&,
                      std::shared_ptr<const Data::ErrorValue>&) override {
    return true;
  }
};

/// Calls the visitor whatever the request is.
class LenientDeserializer : public Core::ApiRequestDeserializer {
 public:
  bool Deserialize(std::streambuf&, Core::ApiRequestVisitor& visitor,
                   std::shared_ptr<const Data::ErrorValue>&) override {
    visitor.Invoke("1", nullptr, nullptr, nullptr);
    return true;
  }
  bool Deserialize(std::istream& source, Core::ApiRequestVisitor& visitor,
                   std::shared_ptr<const Data::ErrorValue>& error) override {
    return Deserialize(*source.rdbuf(), visitor, error);
  }
};

TEST_F(SendQueue, ErrorOfTheSerializerFinishesTheRequestWithIt) {
  test_client client(start());
  const auto provider = std::make_shared<PlayedProvider>();
  const auto handler = std::make_shared<Provider::AsyncProtocolHandlerHelper<FramedTransport>>(
      Open(client), provider, [](const boost::function<void()>& work) { work(); },
      std::make_shared<LenientDeserializer>(), std::make_shared<RefusingSerializer>());
  std::atomic<int> received = 0;
  std::promise<std::string> told;
  handler->HandleRequest([&] { ++received; },
                         [&](const std::shared_ptr<const Data::ErrorValue>& error) {
                           told.set_value(error == nullptr ? "" : error->ToString());
                         });
  client.send(std::string(100, 'x'));
  EXPECT_THAT(told.get_future().get(), HasSubstr("refused"));
  EXPECT_EQ(received, 1);
}

TEST(RemoveProgressProvider, ForwardsTheCallAndItsResultButNoProgress) {
  const auto inner = std::make_shared<PlayedProvider>();
  Call seen;
  inner->play = [&](const Call& call) {
    seen = call;
    call.Report({0, 2, 1});
    call.Finish("done");
  };
  Provider::RemoveProgressProvider provider(inner);
  EXPECT_EQ(provider.GetName(), "RemoveProgressProvider");
  const auto method = std::make_shared<Core::MethodIdentifier>(
      std::make_shared<Core::InterfaceIdentifier>("s"), "o");
  const auto input = std::make_shared<Data::StringValue>("in");
  const auto activation = std::make_shared<Core::AsyncActivation>(nullptr);
  int calls = 0;
  provider.Invoke(method, input, activation,
                  [&](const std::shared_ptr<Core::MethodResult>& result, const Progress& progress) {
                    ++calls;
                    EXPECT_NE(result, nullptr);
                    EXPECT_EQ(progress, kFinished);
                  });
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(seen.method, method);
  EXPECT_EQ(seen.input, input);
  EXPECT_EQ(seen.activation, activation);
}

}  // namespace
}  // namespace Krova::Testing
