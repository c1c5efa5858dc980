#include "pion/http/server.h"

#include <gmock/gmock.h>

#include <set>
#include <stdexcept>
#include <thread>

#include "server_fixture.h"

namespace pion_test {
namespace {

using pion::http::request_ptr;
using pion::tcp::connection_ptr;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// The lines before the empty one, in no particular order; the status line is one of them.
std::multiset<std::string> head_of(const std::string& response) {
  std::multiset<std::string> lines;
  std::size_t begin = 0;
  const std::size_t end = response.find("\r\n\r\n");
  while (begin < end && end != std::string::npos) {
    const std::size_t stop = response.find("\r\n", begin);
    lines.insert(response.substr(begin, stop - begin));
    begin = stop + 2;
  }
  return lines;
}

class HttpServer : public server_fixture {
 protected:
  HttpServer() { server_->add_resource("/api", echo); }

  std::string exchange(const std::string& bytes) {
    if (!server_->is_listening()) start();
    test_client client(server_->get_port());
    client.send(bytes);
    const std::string all = client.read_all();
    EXPECT_FALSE(client.timed_out());
    end_ = client.end();
    return all;
  }

  boost::system::error_code end_;
};

TEST_F(HttpServer, AnswersAndClosesWhenTheClientSaysClose) {
  const std::string response =
      exchange("POST /api HTTP/1.1\r\nConnection: close\r\nContent-Length: 2\r\n\r\n{}");
  EXPECT_THAT(head_of(response), testing::UnorderedElementsAre(
                                     "HTTP/1.1 200 OK", "Content-Length: 12", "Connection: close"));
  EXPECT_EQ(content_of(response), "POST /api {}");
  EXPECT_EQ(end_, boost::asio::error::eof);
}

/// \return What came of connecting to the server by \p address.
boost::system::error_code connect_by(const boost::asio::ip::address& address, std::uint16_t port) {
  boost::asio::io_context service;
  boost::asio::ip::tcp::socket socket(service);
  boost::system::error_code error;
  socket.connect({address, port}, error);
  return error;
}

TEST_F(HttpServer, OnIpv6RefusesIpv4Clients) {
  server_->set_endpoint({boost::asio::ip::address_v6::any(), 0});
  try {
    start();
  } catch (const boost::system::system_error& error) {
    GTEST_SKIP() << "this computer has no IPv6: " << error.what();
  }
  const std::uint16_t port = server_->get_port();
  EXPECT_FALSE(connect_by(boost::asio::ip::address_v6::loopback(), port));
  EXPECT_EQ(connect_by(boost::asio::ip::address_v4::loopback(), port),
            boost::asio::error::connection_refused);
}

TEST_F(HttpServer, AnswersInVersion11ToAnOlderClientAndCloses) {
  for (const char* header : {"", "Connection: keep-alive\r\n"}) {
    const std::string response = exchange(std::string("GET /api HTTP/1.0\r\n") + header + "\r\n");
    EXPECT_THAT(response, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(response, HasSubstr("Connection: close\r\n"));
  }
}

TEST_F(HttpServer, KeepsTheConnectionForTheNextRequest) {
  test_client client(start());
  for (int i = 0; i < 3; ++i) {
    client.send("GET /api HTTP/1.1\r\n\r\n");
    const std::string response = client.read_response();
    EXPECT_THAT(head_of(response),
                testing::UnorderedElementsAre("HTTP/1.1 200 OK", "Content-Length: 9",
                                              "Connection: Keep-Alive"));
  }
}

TEST_F(HttpServer, ClosesAnIdleConnectionAfterTheReadTimeout) {
  server_->set_read_timeout(std::chrono::milliseconds(50));
  const std::string response = exchange("GET /api HTTP/1.1\r\n\r\n");
  EXPECT_EQ(content_of(response), "GET /api ");
  EXPECT_EQ(end_, boost::asio::error::eof);
}

TEST_F(HttpServer, AnswersPipelinedRequestsInOrder) {
  const std::string responses = exchange(
      "POST /api/1 HTTP/1.1\r\nContent-Length: 1\r\n\r\na"
      "POST /api/2 HTTP/1.1\r\nContent-Length: 1\r\n\r\nb"
      "POST /api/3 HTTP/1.1\r\nConnection: close\r\nContent-Length: 1\r\n\r\nc");
  const std::size_t first = responses.find("POST /api/1 a");
  const std::size_t second = responses.find("POST /api/2 b");
  const std::size_t third = responses.find("POST /api/3 c");
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_LT(third, responses.size());
}

TEST_F(HttpServer, AnswersThousandsOfPipelinedRequests) {
  std::string requests;
  for (int i = 0; i < 5000; ++i) requests += "GET /api HTTP/1.1\r\n\r\n";
  start();
  test_client client(server_->get_port());
  std::thread sender([&] { client.send(requests); });
  sender.join();
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(content_of(client.read_response()), "GET /api ") << i;
}

TEST_F(HttpServer, AnswersOnlyTheFirstOfTwoWhenItSaysClose) {
  const std::string responses =
      exchange("GET /api/1 HTTP/1.1\r\nConnection: close\r\n\r\nGET /api/2 HTTP/1.1\r\n\r\n");
  EXPECT_THAT(responses, EndsWith("GET /api/1 "));
}

TEST_F(HttpServer, GivesTheHandlerTheContentWhateverTheMethodAndTheCoding) {
  EXPECT_EQ(content_of(exchange("GET /api HTTP/1.1\r\nConnection: close\r\nContent-Length: "
                                "5\r\n\r\nhello")),
            "GET /api hello");
  EXPECT_EQ(content_of(exchange("POST /api HTTP/1.1\r\nConnection: close\r\nTransfer-Encoding: "
                                "chunked\r\n\r\n5;x=y\r\nhello\r\n0\r\nTrailer: t\r\n\r\n")),
            "POST /api hello");
}

TEST_F(HttpServer, CutsAContentAtTheLimitAndGoesOn) {
  server_->remove_resource("/api");
  server_->add_resource("/api", [](const request_ptr& request, const connection_ptr& connection) {
    answer(request, connection, std::to_string(request->get_content_length()));
  });
  test_client client(start());
  client.send("POST /api HTTP/1.1\r\nContent-Length: 3145728\r\n\r\n" + std::string(3145728, 'x'));
  EXPECT_EQ(content_of(client.read_response()), "1048576");
  client.send("POST /api HTTP/1.1\r\nContent-Length: 3\r\n\r\nxyz");
  EXPECT_EQ(content_of(client.read_response()), "3");
}

TEST_F(HttpServer, AnswersAnUnknownResourceWith404) {
  const std::string response = exchange("GET /nope HTTP/1.1\r\nConnection: close\r\n\r\n");
  EXPECT_THAT(head_of(response),
              testing::UnorderedElementsAre("HTTP/1.1 404 Not Found", "Content-Length: 151",
                                            "Connection: close"));
}

TEST_F(HttpServer, KeepsTheConnectionAfterA404) {
  test_client client(start());
  client.send("GET /nope HTTP/1.1\r\n\r\n");
  EXPECT_THAT(client.read_response(), HasSubstr("Connection: Keep-Alive\r\n"));
  client.send("GET /api HTTP/1.1\r\n\r\n");
  EXPECT_EQ(content_of(client.read_response()), "GET /api ");
}

TEST_F(HttpServer, AnswersAMalformedRequestWith400AndCloses) {
  for (const char* bad :
       {"G@T /api HTTP/1.1\r\n\r\n", "GET /api HTTP/3.9\r\n\r\n",
        "GET /api HTTP/1.1\r\nA B: c\r\n\r\n", "GET /api HTTP/1.1\r\nContent-Length: x\r\n\r\n",
        "POST /api HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n"}) {
    const std::string response = exchange(bad);
    EXPECT_THAT(head_of(response),
                testing::UnorderedElementsAre("HTTP/1.1 400 Bad Request", "Content-Length: 168",
                                              "Connection: close"))
        << bad;
    EXPECT_EQ(end_, boost::asio::error::eof) << bad;
  }
}

TEST_F(HttpServer, AnswersAResourceThatIsTooLongWith400) {
  const std::string response = exchange("GET /" + std::string(262144, 'x') + " HTTP/1.1\r\n\r\n");
  EXPECT_THAT(response, StartsWith("HTTP/1.1 400 Bad Request\r\n"));
}

TEST_F(HttpServer, AnswersAnExceptionOfTheHandlerWith500) {
  server_->add_resource(
      "/bad", [](const request_ptr&, const connection_ptr&) { throw std::runtime_error("a<b"); });
  const std::string response = exchange("GET /bad HTTP/1.1\r\nConnection: close\r\n\r\n");
  EXPECT_THAT(head_of(response),
              testing::UnorderedElementsAre("HTTP/1.1 500 Server Error", "Content-Length: 178",
                                            "Connection: close"));
  EXPECT_THAT(response, HasSubstr("a&lt;b"));
  test_client client(server_->get_port());
  client.send("GET /bad HTTP/1.1\r\n\r\n");
  EXPECT_THAT(client.read_response(), HasSubstr("Connection: Keep-Alive\r\n"));
}

TEST_F(HttpServer, AnswersABoostExceptionWith500) {
  struct fault : virtual boost::exception {};
  server_->add_resource("/bad", [](const request_ptr&, const connection_ptr&) { throw fault(); });
  EXPECT_THAT(exchange("GET /bad HTTP/1.1\r\nConnection: close\r\n\r\n"),
              StartsWith("HTTP/1.1 500 Server Error\r\n"));
}

TEST_F(HttpServer, ClosesWithoutAnswerAfterAnythingElseThatIsThrown) {
  server_->add_resource("/odd", [](const request_ptr&, const connection_ptr&) { throw 5; });
  server_->add_resource("/memory",
                        [](const request_ptr&, const connection_ptr&) { throw std::bad_alloc(); });
  for (const char* resource : {"/odd", "/memory"}) {
    EXPECT_EQ(exchange(std::string("GET ") + resource + " HTTP/1.1\r\n\r\n"), "") << resource;
  }
  EXPECT_EQ(content_of(exchange("GET /api HTTP/1.1\r\nConnection: close\r\n\r\n")), "GET /api ");
}

TEST_F(HttpServer, UsesTheHandlersThatReplaceItsAnswers) {
  server_->set_not_found_handler([](const request_ptr& request, const connection_ptr& connection) {
    answer(request, connection, "nothing at " + request->get_resource());
  });
  server_->set_bad_request_handler(
      [](const request_ptr& request, const connection_ptr& connection) {
        answer(request, connection, request->is_valid() ? "valid" : "malformed");
      });
  server_->set_error_handler([](const request_ptr& request, const connection_ptr& connection,
                                const std::string& what) { answer(request, connection, what); });
  server_->add_resource("/bad", [](const request_ptr&, const connection_ptr&) {
    throw std::runtime_error("broken");
  });
  const std::string close = " HTTP/1.1\r\nConnection: close\r\n\r\n";
  EXPECT_EQ(content_of(exchange("GET /nope" + close)), "nothing at /nope");
  EXPECT_EQ(content_of(exchange("G@T /api" + close)), "malformed");
  EXPECT_EQ(content_of(exchange("GET /bad" + close)), "broken");
}

TEST_F(HttpServer, SendsNothingToAClientThatIsTooSlow) {
  server_->set_read_timeout(std::chrono::milliseconds(50));
  for (const char* start : {"", "GET /ap", "GET /api HTTP/1.1\r\nA: b\r\n",
                            "POST /api HTTP/1.1\r\nContent-Length: 5\r\n\r\nhe"}) {
    EXPECT_EQ(exchange(start), "") << start;
    EXPECT_EQ(end_, boost::asio::error::eof) << start;
  }
}

TEST(HttpServerTimeout, IsTenSeconds) {
  EXPECT_EQ(pion::http::reader::DEFAULT_READ_TIMEOUT, std::chrono::seconds(10));
  EXPECT_EQ(pion::tcp::connection::HANDSHAKE_TIMEOUT, std::chrono::seconds(10));
}

TEST_F(HttpServer, SendsNothingToAClientThatEndsInTheMiddle) {
  start();
  for (const char* beginning :
       {"", "GET /ap", "POST /api HTTP/1.1\r\nContent-Length: 5\r\n\r\nhe"}) {
    test_client client(server_->get_port());
    client.send(beginning);
    client.end_sending();
    EXPECT_EQ(client.read_all(), "") << beginning;
  }
}

TEST_F(HttpServer, AnswersAClientThatHasEndedItsSide) {
  start();
  test_client client(server_->get_port());
  client.send("GET /api HTTP/1.1\r\nConnection: close\r\n\r\n");
  client.end_sending();
  EXPECT_EQ(content_of(client.read_all()), "GET /api ");
}

TEST_F(HttpServer, ServesOthersWhileOneClientIsSlow) {
  start();
  test_client slow(server_->get_port());
  slow.send("POST /api HTTP/1.1\r\nConnection: close\r\nContent-Length: 5\r\n\r\nhe");
  EXPECT_EQ(content_of(exchange("GET /api HTTP/1.1\r\nConnection: close\r\n\r\n")), "GET /api ");
  slow.send("llo");
  EXPECT_EQ(content_of(slow.read_all()), "POST /api hello");
}

TEST_F(HttpServer, GoesOnAfterClientsThatReset) {
  start();
  for (int i = 0; i < 20; ++i) {
    test_client client(server_->get_port());
    client.send("POST /api HTTP/1.1\r\nContent-Length: 500000\r\n\r\nhe");
    client.abort();
  }
  EXPECT_EQ(content_of(exchange("GET /api HTTP/1.1\r\nConnection: close\r\n\r\n")), "GET /api ");
}

TEST_F(HttpServer, DoesNotAskForTheContentOfAClientThatExpectsIt) {
  start();
  test_client client(server_->get_port());
  client.send(
      "POST /api HTTP/1.1\r\nConnection: close\r\nExpect: 100-continue\r\nContent-Length: "
      "2\r\n\r\n");
  client.send("{}");
  EXPECT_THAT(client.read_all(), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(HttpServer, ClosesAConnectionThatNobodyFinished) {
  server_->add_resource(
      "/forget", [](const request_ptr& request, const connection_ptr& connection) {
        const auto writer = pion::http::response_writer::create(connection, *request);
        writer << "done";
        writer->send([writer](const boost::system::error_code&, std::size_t) {});
      });
  server_->add_resource("/silent", [](const request_ptr&, const connection_ptr&) {});
  EXPECT_EQ(content_of(exchange("GET /forget HTTP/1.1\r\n\r\n")), "done");
  EXPECT_EQ(end_, boost::asio::error::eof);
  EXPECT_EQ(exchange("GET /silent HTTP/1.1\r\n\r\n"), "");
  EXPECT_EQ(end_, boost::asio::error::eof);
}

TEST_F(HttpServer, TellsTheHandlerWhoAsks) {
  server_->add_resource("/who", [](const request_ptr& request, const connection_ptr& connection) {
    answer(request, connection,
           connection->get_remote_ip().to_string() + ' ' +
               std::to_string(connection->get_remote_port() != 0));
  });
  EXPECT_EQ(content_of(exchange("GET /who HTTP/1.1\r\nConnection: close\r\n\r\n")), "127.0.0.1 1");
}

TEST_F(HttpServer, CountsItsConnections) {
  start();
  EXPECT_EQ(server_->get_connections(), 0u);
  test_client one(server_->get_port());
  one.send("GET /api HTTP/1.1\r\n\r\n");
  one.read_response();
  EXPECT_EQ(server_->get_connections(), 1u);
}

TEST_F(HttpServer, ClearStopsAndForgets) {
  start();
  server_->clear();
  EXPECT_FALSE(server_->is_listening());
  EXPECT_THAT(exchange("GET /api HTTP/1.1\r\nConnection: close\r\n\r\n"),
              StartsWith("HTTP/1.1 404 Not Found\r\n"));
}

}  // namespace
}  // namespace pion_test
