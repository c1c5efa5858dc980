#include <gmock/gmock.h>

#include "pion/http/reader.h"
#include "server_fixture.h"

namespace pion_test {
namespace {

using boost::system::error_code;
using pion::http::request_ptr;
using pion::tcp::connection_ptr;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// Reads the content of a request whose headers are known, as a handler does.
class content_reader : public pion::http::reader,
                       public std::enable_shared_from_this<content_reader> {
 public:
  using handler = std::function<void(const error_code&)>;

  static void read(const request_ptr& request, const connection_ptr& connection, handler done) {
    const auto made = std::make_shared<content_reader>(request, connection, std::move(done));
    made->skip_header_parsing(*request);
    made->receive();
  }
  content_reader(request_ptr request, connection_ptr connection, handler done)
      : reader(true, std::move(connection)), request_(std::move(request)), done_(std::move(done)) {}

 private:
  void read_bytes() override {
    get_connection()->async_read_some(
        [self = shared_from_this()](const error_code& error, std::size_t bytes) {
          self->consume_bytes(error, bytes);
        });
  }
  void finished_reading(const error_code& error) override { done_(error); }
  pion::http::message& get_message() override { return *request_; }

  request_ptr request_;
  handler done_;
};

class DispatchAfterHeaders : public server_fixture {
 protected:
  DispatchAfterHeaders() {
    server_->set_dispatch_after_headers(true);
    server_->add_resource("/api", [](const request_ptr& request, const connection_ptr& connection) {
      EXPECT_STREQ(request->get_content(), "");
      content_reader::read(request, connection, [request, connection](const error_code& error) {
        if (!error) echo(request, connection);
      });
    });
    server_->add_resource(
        "/ignore", [](const request_ptr& request, const connection_ptr& connection) {
          answer(request, connection, "ignored " + std::to_string(request->get_content_length()));
        });
  }

  std::string exchange(const std::string& bytes) {
    if (!server_->is_listening()) start();
    test_client client(server_->get_port());
    client.send(bytes);
    const std::string all = client.read_all();
    EXPECT_FALSE(client.timed_out());
    EXPECT_EQ(client.end(), boost::asio::error::eof);
    return all;
  }
};

TEST_F(DispatchAfterHeaders, ReadsTheContentWhereverTheRequestIsCut) {
  const std::string requests[] = {
      "POST /api HTTP/1.1\r\nConnection: close\r\nContent-Length: 5\r\n\r\nhello",
      "POST /api HTTP/1.0\r\nContent-Length: 5\r\n\r\nhello",
      "POST /api HTTP/1.1\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n\r\n"
      "5\r\nhello\r\n0\r\n\r\n"};
  start();
  for (const std::string& request : requests) {
    for (std::size_t cut = 0; cut < request.size(); ++cut) {
      test_client client(server_->get_port());
      client.send(request.substr(0, cut));
      client.send(request.substr(cut));
      EXPECT_EQ(content_of(client.read_all()), "POST /api hello") << request << " cut at " << cut;
    }
    test_client client(server_->get_port());
    for (const char byte : request) client.send({&byte, 1});
    EXPECT_EQ(content_of(client.read_all()), "POST /api hello") << request;
  }
}

TEST_F(DispatchAfterHeaders, FindsAnEmptyContentAtOnce) {
  for (const char* header : {"", "Content-Length: 0\r\n"}) {
    EXPECT_EQ(content_of(exchange("POST /api HTTP/1.1\r\nConnection: close\r\n" +
                                  std::string(header) + "\r\n")),
              "POST /api ");
  }
  EXPECT_EQ(content_of(exchange("POST /api HTTP/1.1\r\nConnection: close\r\nTransfer-Encoding: "
                                "chunked\r\n\r\n0\r\n\r\n")),
            "POST /api ");
}

TEST_F(DispatchAfterHeaders, KeepsTheConnectionOnceTheContentIsRead) {
  test_client client(start());
  client.send(
      "POST /api/1 HTTP/1.1\r\nContent-Length: 1\r\n\r\na"
      "POST /api/2 HTTP/1.1\r\nContent-Length: 1\r\n\r\nb");
  EXPECT_EQ(content_of(client.read_response()), "POST /api/1 a");
  EXPECT_EQ(content_of(client.read_response()), "POST /api/2 b");
  client.send("GET /api/3 HTTP/1.1\r\n\r\n");
  EXPECT_EQ(content_of(client.read_response()), "GET /api/3 ");
}

TEST_F(DispatchAfterHeaders, ClosesWhenTheHandlerAnswersWithoutTheContent) {
  for (const char* content : {"Content-Length: 5\r\n\r\nhello",
                              "Transfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n"}) {
    const std::string all = exchange(std::string("POST /ignore HTTP/1.1\r\n") + content);
    EXPECT_THAT(all, HasSubstr("Connection: close\r\n"));
    EXPECT_THAT(content_of(all), StartsWith("ignored ")) << "one answer and nothing behind it";
  }
}

TEST_F(DispatchAfterHeaders, LargeContentThatNobodyReadsDoesNotDestroyTheAnswer) {
  const std::string body(1048576, 'x');
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(
        content_of(exchange("POST /ignore HTTP/1.1\r\nContent-Length: 1048576\r\n\r\n" + body)),
        "ignored 1048576");
  }
}

TEST_F(DispatchAfterHeaders, UnknownResourceWithAContentGetsOne404) {
  const std::string all = exchange("POST /nope HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello");
  EXPECT_THAT(all, StartsWith("HTTP/1.1 404 Not Found\r\n"));
  EXPECT_THAT(all, HasSubstr("Connection: close\r\n"));
  EXPECT_THAT(all, EndsWith("</html>\n"));
  EXPECT_THAT(all, testing::Not(HasSubstr("400")));
}

TEST_F(DispatchAfterHeaders, KnowsTheLengthUpToTheLimitBeforeTheContent) {
  EXPECT_EQ(content_of(exchange("POST /ignore HTTP/1.1\r\nContent-Length: 9999999\r\n\r\n")),
            "ignored 1048576");
}

TEST_F(DispatchAfterHeaders, CutsALongContentAndFindsItsEnd) {
  server_->add_resource("/size", [](const request_ptr& request, const connection_ptr& connection) {
    content_reader::read(request, connection, [request, connection](const error_code&) {
      answer(request, connection, std::to_string(request->get_content_length()));
    });
  });
  test_client client(start());
  client.send("POST /size HTTP/1.1\r\nContent-Length: 3145728\r\n\r\n" + std::string(3145728, 'x'));
  EXPECT_EQ(content_of(client.read_response()), "1048576");
  client.send("POST /size HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n100001\r\n" +
              std::string(1048577, 'x') + "\r\n0\r\n\r\n");
  EXPECT_EQ(content_of(client.read_response()), "1048576");
}

TEST_F(DispatchAfterHeaders, SendsNothingWhenTheContentIsTooSlow) {
  server_->set_read_timeout(std::chrono::milliseconds(50));
  error_code told;
  gate finished;
  server_->add_resource("/slow", [&](const request_ptr& request, const connection_ptr& connection) {
    connection->set_read_timeout(std::chrono::milliseconds(50));
    const auto made =
        std::make_shared<content_reader>(request, connection, [&](const error_code& error) {
          told = error;
          finished.open();
        });
    made->set_timeout(std::chrono::milliseconds(50));
    made->skip_header_parsing(*request);
    made->receive();
  });
  EXPECT_EQ(exchange("POST /slow HTTP/1.1\r\nContent-Length: 5\r\n\r\nhe"), "");
  ASSERT_TRUE(finished.wait());
  EXPECT_EQ(told, boost::asio::error::operation_aborted);
}

}  // namespace
}  // namespace pion_test
