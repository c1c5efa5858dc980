#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "pion/scheduler.h"
#include "pion/tcp/connection.h"

namespace pion::tcp {

namespace detail {
class connection_pool;
}

/// Accepts connections and hands each to handle_connection().
///
/// start(), stop(), join(), is_listening() and get_connections() may be called from any thread; the
/// configuration belongs before start(). A server has to be destroyed before its scheduler, and not
/// on a thread of it.
class server {
 public:
  server(const server&) = delete;
  server& operator=(const server&) = delete;
  /// Stops the server and waits for the end of the stop. A derived class does so too, since its
  /// part of the object is gone by then.
  virtual ~server();

  /// Binds and listens on the endpoint. Does nothing if the server listens already.
  /// \throws boost::system::system_error if the port can't be had; the server doesn't listen then,
  ///         and may be started again.
  void start();

  /// Refuses new clients and closes all connections.
  /// \param wait_until_finished  Requests under way get their answers first, and clients that are
  ///        connected may still send one. Otherwise every socket is closed at once.
  ///
  /// Returns when every connection has been let go, so not before the handlers that run have ended.
  /// Called on a thread of the scheduler, which couldn't go on then, it returns at once and the
  /// stop ends by itself. Does nothing if the server doesn't listen.
  void stop(bool wait_until_finished = false);

  /// Blocks while the server listens and until a stop has ended.
  /// \throws boost::system::system_error with resource_deadlock_would_occur if a thread of the
  ///         scheduler would have to wait.
  void join();

  /// True from start() to the beginning of stop().
  bool is_listening() const;
  /// The number of open connections.
  std::size_t get_connections() const;

  const boost::asio::ip::tcp::endpoint& get_endpoint() const { return endpoint_; }
  void set_endpoint(const boost::asio::ip::tcp::endpoint& endpoint) { endpoint_ = endpoint; }
  boost::asio::ip::address get_address() const { return endpoint_.address(); }
  void set_address(const boost::asio::ip::address& address) { endpoint_.address(address); }
  /// After start() with port 0 this is the port that the system chose.
  std::uint16_t get_port() const { return endpoint_.port(); }
  void set_port(std::uint16_t port) { endpoint_.port(port); }

  bool get_ssl_flag() const { return ssl_; }
  void set_ssl_flag(bool ssl = true) { ssl_ = ssl; }

  /// The TLS settings. Changes before start() hold for all connections.
  boost::asio::ssl::context& get_ssl_context_type() { return context_; }

  /// Switches TLS on and loads the first certificate and the first private key of a PEM file; a
  /// chain isn't looked for.
  /// \param path  UTF-8.
  /// \throws boost::system::system_error if the file lacks one of them, or they don't fit together,
  ///         or the key is encrypted. TLS stays switched on.
  void set_ssl_key_file(const std::string& path);

 protected:
  server(scheduler& threads, const boost::asio::ip::tcp::endpoint& endpoint);

  /// Serves a connection, plain or with the handshake behind it. Called on the scheduler's threads,
  /// again for each further request, and never after stop() has begun.
  virtual void handle_connection(const connection_ptr& connection) = 0;
  /// Called by start() before anything is opened.
  virtual void before_starting() {}
  /// Called once at the end of a stop, on whatever thread lets the last connection go.
  virtual void after_stopping() {}

  scheduler& get_scheduler() { return scheduler_; }

  /// Keeps stop() from ending until the result is let go. For what is called while a connection is
  /// open but may outlast it, since the last step of a connection lets the server go.
  std::shared_ptr<void> stay();

 private:
  void open_acceptor();
  void close_acceptor();
  void accept_next();
  void accept_one();
  void retry_accept_later();
  void on_accept(const connection_ptr& connection, const boost::system::error_code& error);
  void welcome(const connection_ptr& connection);
  static void finish_connection(server* owner, const std::shared_ptr<detail::connection_pool>& pool,
                                const connection_ptr& connection);

  scheduler& scheduler_;
  const std::shared_ptr<detail::connection_pool> pool_;
  boost::asio::ip::tcp::endpoint endpoint_;
  boost::asio::ssl::context context_;
  bool ssl_ = false;
  std::mutex acceptor_mutex_;
  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::steady_timer retry_timer_;
};

}  // namespace pion::tcp
