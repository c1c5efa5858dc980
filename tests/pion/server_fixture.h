#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "pion/http/response_writer.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"
#include "test_certificate.h"
#include "test_client.h"

namespace pion_test {

/// A flag that one thread raises and another waits for.
class gate {
 public:
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  /// False if nobody opened it within a time that no healthy program needs.
  bool wait() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30), [this] { return open_; });
  }
  bool is_open() {
    const std::lock_guard lock(mutex_);
    return open_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

/// A server on a port of the system's choice, with one I/O thread unless a test says otherwise.
class server_fixture : public testing::Test {
 protected:
  using request_handler = pion::http::server::request_handler_t;

  explicit server_fixture(std::uint32_t threads = 1) {
    scheduler_.set_num_threads(threads);
    make_server();
  }

  void make_server() {
    server_ = std::make_unique<pion::http::server>(
        scheduler_, boost::asio::ip::tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
  }

  void use_tls() {
    const test_certificate made;
    server_->set_ssl_key_file(folder_.write("server.pem", made.key + made.certificate));
  }

  std::uint16_t start() {
    server_->start();
    return server_->get_port();
  }

  /// Answers with \p text, and closes or goes on as the connection's lifecycle says.
  static void answer(const pion::http::request_ptr& request,
                     const pion::tcp::connection_ptr& connection, const std::string& text) {
    const auto writer = pion::http::response_writer::create(
        connection, *request,
        [connection](const boost::system::error_code&) { connection->finish(); });
    writer << text;
    writer->send();
  }

  /// Answers a request with its method, its resource and its content.
  static void echo(const pion::http::request_ptr& request,
                   const pion::tcp::connection_ptr& connection) {
    answer(request, connection,
           request->get_method() + ' ' + request->get_resource() + ' ' +
               std::string(request->get_content(), request->get_content_length()));
  }

  temporary_folder folder_;
  pion::single_service_scheduler scheduler_;
  std::unique_ptr<pion::http::server> server_;
};

/// The content behind a response's headers.
inline std::string content_of(const std::string& response) {
  const std::size_t at = response.find("\r\n\r\n");
  return at == std::string::npos ? "no response: " + response : response.substr(at + 4);
}

}  // namespace pion_test
