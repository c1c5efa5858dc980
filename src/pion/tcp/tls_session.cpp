#include "pion/tcp/tls_session.h"

#include <openssl/bio.h>
#include <openssl/err.h>

#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <new>

namespace pion::tcp::detail {
namespace {

using boost::system::error_code;

bool would_block(const error_code& error) {
  return error == boost::asio::error::would_block || error == boost::asio::error::try_again;
}

}  // namespace

/// OpenSSL's view of the session's two directions.
struct bio_callbacks {
  static tls_session& session(BIO* bio) { return *static_cast<tls_session*>(BIO_get_data(bio)); }

  static int read(BIO* bio, char* data, std::size_t size, std::size_t* bytes) {
    BIO_clear_retry_flags(bio);
    error_code error;
    *bytes = session(bio).socket_.read_some(boost::asio::buffer(data, size), error);
    if (!error) return 1;
    if (would_block(error)) {
      BIO_set_retry_read(bio);
    } else {
      session(bio).socket_error_ = error;
    }
    return 0;
  }

  static int write(BIO* bio, const char* data, std::size_t size, std::size_t* bytes) {
    session(bio).outgoing_.append(data, size);
    *bytes = size;
    return 1;
  }

  static long control(BIO* bio, int command, long, void*) {
    if (command == BIO_CTRL_FLUSH) return 1;
    if (command == BIO_CTRL_EOF) return session(bio).socket_error_ ? 1 : 0;
    return 0;
  }

  static const BIO_METHOD* method() {
    // One for the process, kept to its end: sessions of any thread refer to it.
    static BIO_METHOD* const made = [] {
      BIO_METHOD* fresh = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "pion socket");
      if (fresh == nullptr) throw std::bad_alloc();
      BIO_meth_set_read_ex(fresh, read);
      BIO_meth_set_write_ex(fresh, write);
      BIO_meth_set_ctrl(fresh, control);
      return fresh;
    }();
    return made;
  }
};

tls_session::tls_session(SSL_CTX* context, boost::asio::ip::tcp::socket& socket)
    : socket_(socket), ssl_(SSL_new(context)) {
  BIO* bio = ssl_ ? BIO_new(bio_callbacks::method()) : nullptr;
  if (bio == nullptr) throw std::bad_alloc();
  BIO_set_data(bio, this);
  BIO_set_init(bio, 1);
  SSL_set_bio(ssl_.get(), bio, bio);
  SSL_set_accept_state(ssl_.get());
  SSL_set_mode(ssl_.get(), SSL_MODE_RELEASE_BUFFERS);
  SSL_set_read_ahead(ssl_.get(), 1);
  // Tickets of TLS 1.3 are handed out with the first answer instead of after the handshake: a
  // segment of their own would cost a system call and hold back a small answer until the peer
  // acknowledges it.
  tickets_due_ = SSL_get_num_tickets(ssl_.get());
  SSL_set_num_tickets(ssl_.get(), 0);
}

attempt tls_session::handshake() {
  ERR_clear_error();
  return interpret(SSL_do_handshake(ssl_.get()));
}

attempt tls_session::read(boost::asio::mutable_buffer target) {
  ERR_clear_error();
  std::size_t bytes = 0;
  attempt result = interpret(SSL_read_ex(ssl_.get(), target.data(), target.size(), &bytes));
  result.bytes = bytes;
  return result;
}

error_code tls_session::encrypt(boost::asio::const_buffer data) {
  ERR_clear_error();
  grant_tickets();
  std::size_t bytes = 0;
  return interpret(SSL_write_ex(ssl_.get(), data.data(), data.size(), &bytes)).error;
}

void tls_session::grant_tickets() {
  const bool due = tickets_due_ > 0 && SSL_version(ssl_.get()) == TLS1_3_VERSION &&
                   (SSL_get_options(ssl_.get()) & SSL_OP_NO_TICKET) == 0;
  // A resumed client gets a fresh ticket for the one it used up.
  const std::size_t count = SSL_session_reused(ssl_.get()) != 0 ? 1 : tickets_due_;
  tickets_due_ = 0;
  for (std::size_t i = 0; due && i < count; ++i) SSL_new_session_ticket(ssl_.get());
}

void tls_session::say_goodbye() {
  if (broken_ || goodbye_said_ || SSL_is_init_finished(ssl_.get()) == 0) return;
  goodbye_said_ = true;
  ERR_clear_error();
  // The answer tells whether the peer said goodbye too, which nobody waits for.
  (void)SSL_shutdown(ssl_.get());
}

attempt tls_session::flush() {
  while (waiting() > 0) {
    error_code error;
    flushed_ += socket_.write_some(
        boost::asio::buffer(outgoing_.data() + flushed_, outgoing_.size() - flushed_), error);
    if (would_block(error)) return {progress::wants_output, 0, {}};
    if (error) return {progress::failed, 0, error};
  }
  outgoing_ = std::string();
  flushed_ = 0;
  return {};
}

attempt tls_session::interpret(int result) {
  if (result == 1) return {};
  const int kind = SSL_get_error(ssl_.get(), result);
  if (kind == SSL_ERROR_WANT_READ) return {progress::wants_input, 0, {}};
  return fail(kind);
}

attempt tls_session::fail(int kind) {
  broken_ = true;
  const unsigned long code = ERR_get_error();
  ERR_clear_error();
  if (kind == SSL_ERROR_ZERO_RETURN) {
    broken_ = false;  // The peer's orderly end, which ours may still answer.
    return {progress::failed, 0, boost::asio::error::eof};
  }
  if (socket_error_ == boost::asio::error::eof) {
    return {progress::failed, 0, boost::asio::ssl::error::stream_truncated};
  }
  if (socket_error_) return {progress::failed, 0, socket_error_};
  const error_code error(static_cast<int>(code), boost::asio::error::get_ssl_category());
  return {progress::failed, 0,
          error ? error : error_code(boost::asio::ssl::error::unexpected_result)};
}

}  // namespace pion::tcp::detail
