#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "server_fixture.h"

namespace pion_test {
namespace {

using pion::http::request_ptr;
using pion::tcp::connection_ptr;
using testing::HasSubstr;

/// A server whose resource /wait keeps the I/O thread until the test lets it go.
class Stop : public server_fixture {
 protected:
  Stop() {
    server_->add_resource("/api", echo);
    server_->add_resource("/wait",
                          [this](const request_ptr& request, const connection_ptr& connection) {
                            entered_.open();
                            let_go_.wait();
                            left_ = true;
                            answer(request, connection, "waited");
                          });
  }

  static bool refused(std::uint16_t port) {
    // Wine lets go of a listening socket only when the thread that had begun its accept has heard
    // of the end, which may be after the call that closes it.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!refuses_now(port)) {
      if (!PION_REFUSES_LATE || std::chrono::steady_clock::now() > end) return false;
      std::this_thread::yield();
    }
    return true;
  }

  static bool refuses_now(std::uint16_t port) {
    boost::asio::io_context service;
    boost::asio::ip::tcp::socket socket(service);
    boost::system::error_code error;
    socket.connect({boost::asio::ip::address_v4::loopback(), port}, error);
    return error == boost::asio::error::connection_refused;
  }

  gate entered_;
  gate let_go_;
  std::atomic<bool> left_ = false;
};

TEST_F(Stop, DoesNothingUnlessListening) {
  server_->stop();
  server_->join();
  EXPECT_FALSE(server_->is_listening());
}

TEST_F(Stop, CutsIdleAndSilentClientsAtOnceAndRefusesNewOnes) {
  const std::uint16_t port = start();
  test_client idle(port);
  idle.send("GET /api HTTP/1.1\r\n\r\n");
  idle.read_response();
  test_client silent(port);
  test_client half(port);
  half.send("POST /api HTTP/1.1\r\nContent-Length: 9\r\n\r\nha");
  server_->stop();
  EXPECT_FALSE(server_->is_listening());
  EXPECT_EQ(server_->get_connections(), 0u);
  EXPECT_TRUE(refused(port));
  for (test_client* client : {&idle, &silent, &half}) {
    EXPECT_EQ(client->read_all(), "");
    EXPECT_FALSE(client->timed_out());
  }
}

TEST_F(Stop, CutsTheClientOfARunningHandlerAtOnceAndReturnsAfterTheHandler) {
  const std::uint16_t port = start();
  test_client client(port);
  client.send("GET /wait HTTP/1.1\r\n\r\n");
  ASSERT_TRUE(entered_.wait());
  std::atomic<bool> stopped = false;
  std::thread stopper([&] {
    server_->stop();
    EXPECT_TRUE(left_);
    stopped = true;
  });
  EXPECT_EQ(client.read_all(), "");
  EXPECT_FALSE(client.timed_out());
  EXPECT_TRUE(refused(port));
  EXPECT_FALSE(stopped);
  let_go_.open();
  stopper.join();
  EXPECT_TRUE(stopped);
}

TEST_F(Stop, GracefulStopDeliversTheAnswer) {
  const std::uint16_t port = start();
  test_client client(port);
  client.send("GET /wait HTTP/1.1\r\n\r\n");
  ASSERT_TRUE(entered_.wait());
  std::thread stopper([&] { server_->stop(true); });
  while (!refused(port)) std::this_thread::yield();
  let_go_.open();
  EXPECT_EQ(content_of(client.read_all()), "waited");
  stopper.join();
}

TEST_F(Stop, GracefulStopEndsWithTheReadTimeoutOfIdleClients) {
  server_->set_read_timeout(std::chrono::milliseconds(50));
  test_client idle(start());
  idle.send("GET /api HTTP/1.1\r\n\r\n");
  idle.read_response();
  server_->stop(true);
  EXPECT_EQ(idle.read_all(), "");
}

TEST_F(Stop, JoinWaitsForTheEndOfAStopAlsoWhenCalledLate) {
  test_client client(start());
  client.send("GET /wait HTTP/1.1\r\n\r\n");
  ASSERT_TRUE(entered_.wait());
  auto early = std::async(std::launch::async, [&] {
    server_->join();
    return left_.load();
  });
  auto stopper = std::async(std::launch::async, [&] { server_->stop(); });
  while (server_->is_listening()) std::this_thread::yield();
  auto late = std::async(std::launch::async, [&] {
    server_->join();
    return left_.load();
  });
  server_->stop();  // The second stop has nothing to do and returns at once.
  EXPECT_FALSE(left_);
  let_go_.open();
  EXPECT_TRUE(early.get());
  EXPECT_TRUE(late.get());
  stopper.get();
}

TEST_F(Stop, ServerMayGoAtOnceAfterJoin) {
  for (int round = 0; round < 50; ++round) {
    make_server();
    server_->add_resource("/api", echo);
    const std::uint16_t port = start();
    test_client client(port);
    client.send("GET /api HTTP/1.1\r\n\r\n");
    std::thread stopper([server = server_.get()] { server->stop(); });
    server_->join();
    server_.reset();
    stopper.join();
  }
}

TEST_F(Stop, DestructorStops) {
  const std::uint16_t port = start();
  test_client client(port);
  server_.reset();
  EXPECT_EQ(client.read_all(), "");
  EXPECT_TRUE(refused(port));
}

TEST_F(Stop, HandlerMayKeepTheConnectionForAnotherThread) {
  std::promise<connection_ptr> kept;
  server_->add_resource("/keep", [&](const request_ptr&, const connection_ptr& connection) {
    kept.set_value(connection);
  });
  test_client client(start());
  client.send("GET /keep HTTP/1.1\r\n\r\n");
  connection_ptr connection = kept.get_future().get();
  auto stopper = std::async(std::launch::async, [&] { server_->stop(); });
  EXPECT_EQ(client.read_all(), "");
  EXPECT_EQ(server_->get_connections(), 1u);
  EXPECT_FALSE(connection->is_open());
  connection.reset();
  stopper.get();
}

TEST_F(Stop, ConnectionThatIsFinishedAfterTheServerIsGoneDoesNoHarm) {
  std::promise<connection_ptr> kept;
  server_->add_resource("/keep", [&](const request_ptr&, const connection_ptr& connection) {
    connection->set_lifecycle(pion::tcp::connection::LIFECYCLE_KEEPALIVE);
    kept.set_value(connection);
  });
  test_client client(start());
  client.send("GET /keep HTTP/1.1\r\n\r\n");
  connection_ptr connection = kept.get_future().get();
  std::thread stopper([&] { server_->stop(); });
  client.read_all();
  connection->finish();  // Lets the stop end.
  stopper.join();
  server_.reset();
  connection->finish();
  EXPECT_FALSE(connection->is_open());
}

TEST_F(Stop, SendsOnAConnectionThatWasCutFailOnceAndLater) {
  std::promise<std::pair<request_ptr, connection_ptr>> kept;
  server_->add_resource("/keep", [&](const request_ptr& request, const connection_ptr& connection) {
    kept.set_value({request, connection});
  });
  test_client client(start());
  client.send("GET /keep HTTP/1.1\r\n\r\n");
  auto [request, connection] = kept.get_future().get();
  std::thread stopper([&] { server_->stop(); });
  client.read_all();

  std::promise<boost::system::error_code> finished;
  auto writer = pion::http::response_writer::create(
      connection, *request,
      [&](const boost::system::error_code& error) { finished.set_value(error); });
  std::promise<std::pair<boost::system::error_code, bool>> sent;
  std::atomic<bool> inside = true;
  writer << "text";
  writer->send_chunk([&](const boost::system::error_code& error, std::size_t) {
    sent.set_value({error, scheduler_.runs_on_this_thread()});
  });
  inside = false;
  EXPECT_EQ(sent.get_future().get(),
            std::pair(boost::system::error_code(boost::asio::error::connection_reset), true));
  writer->send();
  EXPECT_EQ(finished.get_future().get(), boost::asio::error::connection_reset);
  writer.reset();
  connection.reset();
  stopper.join();
}

TEST_F(Stop, OnTheSchedulersThreadReturnsAndEndsByItself) {
  server_->add_resource("/stop", [&](const request_ptr& request, const connection_ptr& connection) {
    server_->stop(true);
    EXPECT_FALSE(server_->is_listening());
    EXPECT_THROW(server_->join(), boost::system::system_error);
    answer(request, connection, "stopping");
  });
  const std::uint16_t port = start();
  test_client client(port);
  client.send("GET /stop HTTP/1.1\r\n\r\n");
  EXPECT_EQ(content_of(client.read_all()), "stopping");
  server_->join();
  EXPECT_TRUE(refused(port));
}

TEST_F(Stop, ServerStartsAgainAfterIt) {
  for (int round = 0; round < 3; ++round) {
    server_->set_port(0);
    test_client client(start());
    server_->start();  // Does nothing while it listens.
    client.send("GET /api HTTP/1.1\r\n\r\n");
    EXPECT_EQ(content_of(client.read_response()), "GET /api ");
    server_->stop();
  }
}

TEST_F(Stop, PortInUseMakesStartFailAndNothingWaits) {
  const std::uint16_t port = start();
  pion::single_service_scheduler other_scheduler;
  {
    pion::http::server other(other_scheduler, {boost::asio::ip::address_v4::loopback(), port});
    for (int attempt = 0; attempt < 2; ++attempt) {
      try {
        other.start();
        ADD_FAILURE() << "the port was free";
      } catch (const boost::system::system_error& error) {
        EXPECT_EQ(error.code(), boost::asio::error::address_in_use);
        EXPECT_THAT(error.what(), HasSubstr("bind"));
      }
      EXPECT_FALSE(other.is_listening());
      other.join();
    }
    server_->stop();
    other.start();  // The same object, once the port is free.
    EXPECT_TRUE(other.is_listening());
  }
}

TEST_F(Stop, RepeatedUnderLoadLeavesNothing) {
  for (const bool graceful : {false, true}) {
    for (int round = 0; round < 15; ++round) {
      server_->set_port(0);
      server_->set_read_timeout(std::chrono::milliseconds(graceful ? 20 : 10000));
      const std::uint16_t port = start();
      std::atomic<bool> done = false;
      std::vector<std::thread> clients;
      for (int i = 0; i < 4; ++i) {
        clients.emplace_back([&, i] {
          while (!done) {
            try {
              test_client client(port);
              client.send(i % 2 == 0 ? "GET /api HTTP/1.1\r\n\r\nGET /api HTTP/1.1\r\n\r\n"
                                     : "POST /api HTTP/1.1\r\nContent-Length: 9\r\n\r\nha");
              if (i == 0) client.read_response();
              if (i == 1) client.abort();
            } catch (const boost::system::system_error&) {
              return;  // Refused, so the server has stopped.
            }
          }
        });
      }
      while (server_->get_connections() == 0) std::this_thread::yield();
      server_->stop(graceful);
      EXPECT_EQ(server_->get_connections(), 0u);
      done = true;
      for (std::thread& client : clients) client.join();
    }
  }
}

/// The same with several I/O threads, where a connection's steps wander between them.
class StopOfMany : public server_fixture {
 protected:
  StopOfMany() : server_fixture(4) { server_->add_resource("/api", echo); }
};

TEST_F(StopOfMany, ServesAndStopsWithSixtyFourClients) {
  for (int round = 0; round < 3; ++round) {
    server_->set_port(0);
    const std::uint16_t port = start();
    std::atomic<int> answered = 0;
    std::vector<std::thread> clients;
    for (int i = 0; i < 64; ++i) {
      clients.emplace_back([&] {
        try {
          test_client client(port);
          for (int request = 0; request < 5; ++request) {
            if (!client.send("POST /api HTTP/1.1\r\nContent-Length: 2\r\n\r\nhi")) return;
            if (content_of(client.read_response()) == "POST /api hi") ++answered;
          }
        } catch (const boost::system::system_error&) {
          // Refused, so the server has stopped.
        }
      });
    }
    while (answered < 64) std::this_thread::yield();
    if (round > 0) server_->stop();
    for (std::thread& client : clients) client.join();
    if (round == 0) {
      EXPECT_EQ(answered, 320);
      server_->stop();
    }
  }
}

}  // namespace
}  // namespace pion_test
