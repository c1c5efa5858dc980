#include "pion/http/parser.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/error.hpp>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace pion::http {
namespace {

namespace beast = boost::beast;
using boost::system::error_code;

class parser_category : public boost::system::error_category {
 public:
  const char* name() const noexcept override { return "parser"; }
  std::string message(int value) const override {
    switch (value) {
      case parser::ERROR_MALFORMED:
        return "malformed HTTP message";
      case parser::ERROR_METHOD_SIZE:
        return "method exceeds the limit";
      case parser::ERROR_RESOURCE_SIZE:
        return "resource exceeds the limit";
      case parser::ERROR_QUERY_SIZE:
        return "query string exceeds the limit";
      case parser::ERROR_HEADER_NAME_SIZE:
        return "header name exceeds the limit";
      case parser::ERROR_HEADER_VALUE_SIZE:
        return "header value exceeds the limit";
      case parser::ERROR_HEADERS_SIZE:
        return "headers exceed the limit";
      case parser::ERROR_CHUNK_SIZE:
        return "chunk size or trailer exceeds the limit";
      default:
        return "parser error";
    }
  }
};

/// A last chunk without extension and trailer.
constexpr std::string_view shortest_last_chunk = "0\r\n\r\n";

error_code make_parser_error(parser::error_value_t value) {
  return {value, parser::get_error_category()};
}

std::string_view view(beast::string_view text) { return {text.data(), text.size()}; }

}  // namespace

/// Puts what the parser of the HTTP library finds into a message.
class parser::core final : public beast::http::basic_parser<true> {
 public:
  core() {
    header_limit(HEADER_MAX);
    // What exceeds our own limit is dropped instead of refused.
    body_limit(boost::none);
  }

  void aim(message* into, std::size_t limit) {
    into_ = into;
    limit_ = limit;
  }

  /// Takes the headers of a message that is known already.
  void begin_content(message& known) {
    known.set_content_length(0);
    std::string head = "POST / HTTP/1.1\r\n";
    if (known.is_chunked()) {
      head += "Transfer-Encoding: chunked\r\n";
    } else if (known.has_header("Content-Length")) {
      head += "Content-Length: " + known.get_header("Content-Length") + "\r\n";
    }
    head += "\r\n";
    error_code ignored;  // The headers were good once; without them the message has no content.
    put(boost::asio::buffer(head), ignored);
  }

 private:
  using field = beast::http::field;

  void on_request_impl(beast::http::verb, beast::string_view method, beast::string_view target,
                       int version, error_code& error) override {
    if (into_ == nullptr) return;
    const std::string_view whole = view(target);
    const std::string_view resource = whole.substr(0, whole.find('?'));
    const std::string_view query = whole.substr(std::min(whole.size(), resource.size() + 1));
    if (method.size() > METHOD_MAX) error = make_parser_error(ERROR_METHOD_SIZE);
    if (resource.size() > RESOURCE_MAX) error = make_parser_error(ERROR_RESOURCE_SIZE);
    if (query.size() > QUERY_STRING_MAX) error = make_parser_error(ERROR_QUERY_SIZE);
    if (error) return;
    auto& into = static_cast<request&>(*into_);
    into.set_method(view(method));
    into.set_resource(resource);
    into.set_query_string(query);
    into.set_version(static_cast<std::uint16_t>(version / 10),
                     static_cast<std::uint16_t>(version % 10));
  }

  void on_response_impl(int, beast::string_view, int, error_code&) override {}

  // Called for headers and for the trailer of a chunked content, which becomes headers too.
  void on_field_impl(field known, beast::string_view name, beast::string_view value,
                     error_code& error) override {
    if (into_ == nullptr) return;
    // A trailer comes too late to say what becomes of the connection.
    if (is_header_done() && known == field::connection) return;
    if (name.size() > HEADER_NAME_MAX) error = make_parser_error(ERROR_HEADER_NAME_SIZE);
    if (value.size() > HEADER_VALUE_MAX) error = make_parser_error(ERROR_HEADER_VALUE_SIZE);
    if (!error) into_->add_header(view(name), view(value));
  }

  void on_header_impl(error_code&) override {
    if (into_ == nullptr) return;
    into_->set_chunked(chunked());
    into_->set_content_length(kept(content_length().value_or(0)));
  }

  void on_body_init_impl(const boost::optional<std::uint64_t>& length, error_code&) override {
    if (into_ == nullptr) return;
    into_->set_content_length(kept(length.value_or(0)));
    if (length) into_->create_content_buffer();
  }

  std::size_t on_body_impl(beast::string_view body, error_code&) override {
    keep(view(body));
    return body.size();
  }

  void on_chunk_header_impl(std::uint64_t, beast::string_view, error_code&) override {}

  std::size_t on_chunk_body_impl(std::uint64_t, beast::string_view body, error_code&) override {
    keep(view(body));
    return body.size();
  }

  void on_finish_impl(error_code&) override {
    if (into_ != nullptr) into_->set_content_length(filled_);
  }

  std::size_t kept(std::uint64_t announced) const {
    return static_cast<std::size_t>(std::min<std::uint64_t>(announced, limit_));
  }

  void keep(std::string_view data) {
    data = data.substr(0, limit_ - std::min(limit_, filled_));
    if (data.empty()) return;
    into_->put_content(filled_, data);
    filled_ += data.size();
  }

  message* into_ = nullptr;
  std::size_t limit_ = 0;
  std::size_t filled_ = 0;
};

const boost::system::error_category& parser::get_error_category() {
  static const parser_category category;
  return category;
}

parser::parser(bool is_request, std::size_t max_content_length)
    : max_content_length_(max_content_length), core_(std::make_unique<core>()) {
  if (!is_request) throw std::invalid_argument("pion::http::parser reads requests only");
}

parser::~parser() = default;

void parser::set_read_buffer(const char* data, std::size_t size) {
  read_begin_ = data;
  read_end_ = data + size;
}

void parser::skip_header_parsing(message& known) {
  headers_only_ = false;
  pending_.clear();
  core_ = std::make_unique<core>();
  core_->begin_content(known);
}

bool parser::is_finished() const {
  return core_->is_done() || (headers_only_ && core_->is_header_done());
}

boost::tribool parser::parse(message& into, error_code& error) {
  error.clear();
  core_->aim(&into, max_content_length_);
  std::string_view data = get_unread();
  const bool joined = !pending_.empty();
  if (joined) data = pending_.append(data);
  const boost::tribool result = advance(data, error);
  if (boost::indeterminate(result)) return wait_for_more(data, error);
  if (result) return finish(into, data.size());
  into.set_is_valid(false);
  return false;
}

/// Feeds the core until it is finished or wants more than there is.
boost::tribool parser::advance(std::string_view& data, error_code& error) {
  while (!is_finished()) {
    if (data.empty()) return boost::indeterminate;
    // The library takes for granted that it sees the shortest end of a chunked content whole.
    const bool in_chunks = core_->is_header_done() && core_->chunked();
    const bool whole = data.size() >= shortest_last_chunk.size();
    if (in_chunks && !whole && shortest_last_chunk.starts_with(data)) return boost::indeterminate;
    data.remove_prefix(core_->put(boost::asio::buffer(data), error));
    if (error == beast::http::error::need_more) {
      error.clear();
      return boost::indeterminate;
    }
    if (error) {
      const bool too_long = error == beast::http::error::header_limit;
      if (error.category() != get_error_category()) {
        error = make_parser_error(too_long ? ERROR_HEADERS_SIZE : ERROR_MALFORMED);
      }
      return false;
    }
  }
  return true;
}

boost::tribool parser::finish(message& into, std::size_t unread) {
  // The end of a message always lies in the piece that was read last.
  read_begin_ = read_end_ - unread;
  pending_.clear();
  into.set_is_valid(true);
  return true;
}

/// Keeps what the core couldn't use yet: it wants a line, or the headers, in one piece.
boost::tribool parser::wait_for_more(std::string_view rest, error_code& error) {
  if (core_->is_header_done() && rest.size() > CHUNK_LINE_MAX) {
    error = make_parser_error(ERROR_CHUNK_SIZE);
    return false;
  }
  if (pending_.empty()) {
    pending_ = rest;
  } else {
    pending_.erase(0, pending_.size() - rest.size());
  }
  read_begin_ = read_end_;
  return boost::indeterminate;
}

}  // namespace pion::http
