#include "pion/tcp/server.h"

#include <openssl/ssl.h>

#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>
#include <chrono>
#include <new>

#include "pion/tcp/connection_pool.h"

namespace pion::tcp {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

/// The pause after an accept that failed, for instance because no descriptor was left.
constexpr std::chrono::milliseconds accept_pause{100};

/// Sessions that are remembered for clients without tickets.
constexpr long remembered_sessions = 1024;

/// On Windows the option would let another program take the port over.
constexpr bool reuse_address = PION_REUSE_ADDRESS;

}  // namespace

server::server(scheduler& threads, const asio::ip::tcp::endpoint& endpoint)
    : scheduler_(threads),
      pool_(std::make_shared<detail::connection_pool>()),
      endpoint_(endpoint),
      context_(asio::ssl::context::sslv23),
      acceptor_(threads.get_io_service()),
      retry_timer_(threads.get_io_service()) {
  SSL_CTX_sess_set_cache_size(context_.native_handle(), remembered_sessions);
}

server::~server() {
  stop(false);
  join();
}

void server::set_ssl_key_file(const std::string& path) {
  ssl_ = true;
  context_.set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_sslv2 |
                       asio::ssl::context::single_dh_use);
  // Without this an encrypted key would have the library ask on the terminal.
  context_.set_password_callback(
      [](std::size_t, asio::ssl::context::password_purpose) { return std::string(); });
  context_.use_certificate_file(path, asio::ssl::context::pem);
  context_.use_private_key_file(path, asio::ssl::context::pem);
}

void server::start() {
  if (!pool_->begin()) return;
  try {
    before_starting();
    open_acceptor();
    scheduler_.add_active_user();
  } catch (...) {
    close_acceptor();
    pool_->abandon();
    throw;
  }
  pool_->listen();
  accept_next();
}

void server::open_acceptor() {
  const std::lock_guard lock(acceptor_mutex_);
  acceptor_.open(endpoint_.protocol());
  if (reuse_address) acceptor_.set_option(asio::ip::tcp::acceptor::reuse_address(true));
  // One family only, as Windows has it by default: IPv4 clients don't come in mapped.
  if (endpoint_.address().is_v6()) acceptor_.set_option(asio::ip::v6_only(true));
  acceptor_.bind(endpoint_);
  if (endpoint_.port() == 0) endpoint_ = acceptor_.local_endpoint();
  acceptor_.listen();
}

void server::close_acceptor() {
  const std::lock_guard lock(acceptor_mutex_);
  error_code ignored;
  acceptor_.close(ignored);
  retry_timer_.cancel();
}

void server::stop(bool wait_until_finished) {
  const std::shared_ptr<detail::connection_pool> pool = pool_;
  const bool may_wait = !scheduler_.runs_on_this_thread();
  {
    const auto visit = pool->begin_stop(wait_until_finished, [this] {
      scheduler_.remove_active_user();
      after_stopping();
    });
    if (!visit) return;
    close_acceptor();
    if (!wait_until_finished) pool->cut_all();
  }
  // From here on another thread that waits in join() may destroy the server.
  if (may_wait) pool->wait_until_idle();
}

void server::join() {
  if (scheduler_.runs_on_this_thread() && !pool_->is_idle()) {
    throw boost::system::system_error(
        make_error_code(boost::system::errc::resource_deadlock_would_occur));
  }
  pool_->wait_until_idle();
}

std::shared_ptr<void> server::stay() {
  return std::make_shared<detail::connection_pool::visit>(pool_->stay());
}

bool server::is_listening() const { return pool_->is_listening(); }

std::size_t server::get_connections() const { return pool_->size(); }

void server::accept_next() {
  const auto visit = pool_->enter();
  if (!visit) return;
  try {
    accept_one();
  } catch (const std::bad_alloc&) {
    retry_accept_later();
  }
}

void server::accept_one() {
  const connection_ptr next =
      connection::create(scheduler_.get_io_service(), context_, ssl_,
                         [this, pool = pool_](const connection_ptr& finished) {
                           finish_connection(this, pool, finished);
                         });
  const std::lock_guard lock(acceptor_mutex_);
  if (!acceptor_.is_open()) return;
  next->async_accept(acceptor_, [this, pool = pool_, next](const error_code& error) {
    // After a stop this server may be gone; only the pool can tell.
    if (const auto inside = pool->enter()) on_accept(next, error);
  });
}

void server::on_accept(const connection_ptr& connection, const error_code& error) {
  if (error == asio::error::operation_aborted) return;
  if (error) {
    retry_accept_later();
    return;
  }
  accept_next();
  if (connection->is_open()) welcome(connection);
}

void server::retry_accept_later() {
  const std::lock_guard lock(acceptor_mutex_);
  retry_timer_.expires_after(accept_pause);
  retry_timer_.async_wait([this, pool = pool_](const error_code& error) {
    if (error) return;
    if (const auto inside = pool->enter()) accept_next();
  });
}

void server::welcome(const connection_ptr& connection) {
  std::shared_ptr<void> token = pool_->add(connection->get_channel());
  if (!token) return;
  connection->attach(std::move(token));
  if (!connection->get_ssl_flag()) {
    handle_connection(connection);
    return;
  }
  connection->async_handshake_server([this, pool = pool_, connection](const error_code& error) {
    if (error) return;
    if (const auto inside = pool->enter()) handle_connection(connection);
  });
}

void server::finish_connection(server* owner, const std::shared_ptr<detail::connection_pool>& pool,
                               const connection_ptr& connection) {
  if (connection->get_keep_alive() && pool->is_listening()) {
    // Posted, since a client may have sent any number of requests ahead.
    asio::post(connection->get_io_service(), [owner, pool, connection] {
      if (const auto inside = pool->enter()) {
        owner->handle_connection(connection);
      } else {
        finish_connection(owner, pool, connection);
      }
    });
    return;
  }
  connection->end();
  connection->detach();
}

}  // namespace pion::tcp
