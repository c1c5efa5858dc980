#include "tunrak/error_text.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/http/error.hpp>

namespace Tunrak {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using boost::system::error_code;

struct KnownError {
  error_code error;
  const char* text;
};

const char* KnownText(const error_code& error) {
  static const KnownError kErrors[] = {
      {asio::error::connection_refused, "connection refused"},
      {asio::error::connection_reset, "connection reset by the peer"},
      {asio::error::connection_aborted, "connection aborted"},
      {asio::error::broken_pipe, "connection closed by the peer"},
      {asio::error::host_unreachable, "host unreachable"},
      {asio::error::network_unreachable, "network unreachable"},
      {asio::error::network_down, "network down"},
      {asio::error::timed_out, "timed out"},
      {asio::error::access_denied, "access denied"},
      {asio::error::no_descriptors, "too many descriptors are open"},
      {asio::error::host_not_found, "host not found"},
      {asio::error::host_not_found_try_again, "host not found, name server doesn't answer"},
      {asio::error::no_data, "host has no address"},
      {asio::error::no_recovery, "name resolution failed"},
      {asio::error::eof, "connection closed by the peer"},
      {asio::ssl::error::stream_truncated, "connection closed by the peer"},
      {beast::http::error::end_of_stream, "connection closed by the peer"},
      {beast::http::error::partial_message, "connection closed by the peer within the answer"},
      {beast::http::error::body_limit, "answer too large"},
      {beast::http::error::header_limit, "answer's header too large"},
      {beast::http::error::buffer_overflow, "answer's header too large"},
      {beast::error::timeout, "timed out"},
  };
  for (const KnownError& known : kErrors) {
    if (known.error == error) return known.text;
  }
  return nullptr;
}

}  // namespace

std::string ErrorText(const error_code& error) {
  if (const char* text = KnownText(error)) return text;
  if (error.category() == boost::system::system_category()) {
    return "system error " + std::to_string(error.value());
  }
  return error.message();
}

}  // namespace Tunrak
