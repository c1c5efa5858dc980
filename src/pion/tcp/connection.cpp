#include "pion/tcp/connection.h"

#include <boost/asio/post.hpp>

#include "pion/tcp/channel.h"

namespace pion::tcp {

connection_ptr connection::create(boost::asio::io_context& service,
                                  boost::asio::ssl::context& context, bool ssl,
                                  finished_handler_type finished) {
  return connection_ptr(
      new connection(service, ssl ? context.native_handle() : nullptr, std::move(finished)));
}

connection::connection(boost::asio::io_context& service, SSL_CTX* context,
                       finished_handler_type finished)
    : service_(service),
      channel_(std::make_shared<detail::channel>(service, context)),
      finished_(std::move(finished)),
      ssl_(context != nullptr) {}

connection::~connection() {
  // Nobody is counted any more once the token is gone, and the service may be on its way out then.
  end();
}

bool connection::is_open() const { return channel_->is_open(); }

void connection::close() { channel_->close(); }

void connection::cancel() { channel_->cancel(); }

void connection::finish() {
  if (finished_) finished_(shared_from_this());
}

void connection::end() { channel_->close_gracefully(input_pending_); }

void connection::save_read_pos(const char* begin, const char* end) {
  unread_begin_ = begin;
  unread_end_ = end;
}

std::string_view connection::take_unread() {
  const char* const begin = std::exchange(unread_begin_, nullptr);
  const char* const end = std::exchange(unread_end_, nullptr);
  return {begin, static_cast<std::size_t>(end - begin)};
}

boost::asio::ip::address connection::get_remote_ip() const { return channel_->peer().address(); }

std::uint16_t connection::get_remote_port() const { return channel_->peer().port(); }

void connection::detach() {
  if (!detached_.test_and_set()) token_.reset();
}

boost::asio::ip::tcp::socket& connection::socket() { return channel_->socket(); }

boost::asio::ip::tcp::endpoint& connection::peer() { return channel_->peer(); }

void connection::opened() { channel_->opened(); }

void connection::start_handshake(detail::io_handler handler) {
  channel_->handshake(HANDSHAKE_TIMEOUT, std::move(handler));
}

void connection::start_read(detail::io_handler handler) {
  channel_->read_some(boost::asio::buffer(read_buffer_), read_timeout_, std::move(handler));
}

void connection::start_write(std::vector<boost::asio::const_buffer> buffers, bool last,
                             detail::io_handler handler) {
  channel_->write(std::move(buffers), last, std::move(handler));
}

void connection::start_failure(const boost::system::error_code& error, detail::io_handler handler) {
  boost::asio::post(service_, [handler = std::move(handler), error] { handler(error, 0); });
}

}  // namespace pion::tcp
