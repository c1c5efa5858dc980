#pragma once

#include <boost/logic/tribool.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "pion/http/message.h"

namespace pion::http {

/// Reads requests piece by piece. A parse error is one of error_value_t, in get_error_category();
/// whoever sees an error of that category may answer it, every other error tells of the connection.
///
/// Bounds: the sizes below, header lines up to HEADER_MAX bytes in all, and up to CONTENT_MAX bytes
/// of content that are kept. More content is read and dropped, and the message stays valid.
class parser {
 public:
  static constexpr std::size_t DEFAULT_CONTENT_MAX = 1024 * 1024;
  static constexpr std::size_t METHOD_MAX = 1024;
  static constexpr std::size_t RESOURCE_MAX = 256 * 1024;
  static constexpr std::size_t QUERY_STRING_MAX = 1024 * 1024;
  static constexpr std::size_t HEADER_NAME_MAX = 1024;
  static constexpr std::size_t HEADER_VALUE_MAX = 1024 * 1024;
  static constexpr std::size_t HEADER_MAX = 3 * 1024 * 1024;
  /// The longest line of a chunk's size, and the longest trailer.
  static constexpr std::size_t CHUNK_LINE_MAX = 64 * 1024;

  enum error_value_t {
    ERROR_MALFORMED = 1,  ///< no HTTP request
    ERROR_METHOD_SIZE,
    ERROR_RESOURCE_SIZE,
    ERROR_QUERY_SIZE,
    ERROR_HEADER_NAME_SIZE,
    ERROR_HEADER_VALUE_SIZE,
    ERROR_HEADERS_SIZE,
    ERROR_CHUNK_SIZE,  ///< a chunk's line or the trailer is too long
  };
  static const boost::system::error_category& get_error_category();

  /// \param is_request  Only requests can be read. \throws std::invalid_argument if false.
  /// \param max_content_length  The bytes of content that are kept.
  explicit parser(bool is_request, std::size_t max_content_length = DEFAULT_CONTENT_MAX);
  parser(const parser&) = delete;
  parser& operator=(const parser&) = delete;
  virtual ~parser();

  std::size_t get_max_content_length() const { return max_content_length_; }
  void set_max_content_length(std::size_t length) { max_content_length_ = length; }

  /// The bytes that the next parse() reads. They have to stay until then.
  void set_read_buffer(const char* data, std::size_t size);
  /// What parse() has left of them, once the message is finished.
  std::string_view get_unread() const { return {read_begin_, bytes_available()}; }
  bool eof() const { return read_begin_ == read_end_; }
  std::size_t bytes_available() const { return static_cast<std::size_t>(read_end_ - read_begin_); }

  /// Finish the message after its headers; the content stays unread.
  void parse_headers_only(bool headers_only = true) { headers_only_ = headers_only; }
  bool is_headers_only() const { return headers_only_; }

  /// Prepares a fresh parser for the content of a message whose headers are known.
  void skip_header_parsing(message& known);

  /// Reads on.
  /// \return True if the message is finished, false after an error, which \p error tells;
  ///         indeterminate if more bytes are needed.
  boost::tribool parse(message& into, boost::system::error_code& error);

  /// True once parse() has finished a message, or skip_header_parsing() has found one without
  /// content.
  bool is_finished() const;

 private:
  class core;

  boost::tribool advance(std::string_view& data, boost::system::error_code& error);
  boost::tribool finish(message& into, std::size_t unread);
  boost::tribool wait_for_more(std::string_view rest, boost::system::error_code& error);

  const char* read_begin_ = nullptr;
  const char* read_end_ = nullptr;
  std::size_t max_content_length_;
  bool headers_only_ = false;
  std::string pending_;
  std::unique_ptr<core> core_;
};

}  // namespace pion::http
