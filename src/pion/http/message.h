#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace pion::http {

/// Orders header names without regard to case.
struct header_less {
  using is_transparent = void;
  bool operator()(std::string_view left, std::string_view right) const;
};

/// Headers and content of a request or a response. A container: it checks nothing by itself.
class message {
 public:
  using headers_type = std::multimap<std::string, std::string, header_less>;

  message() = default;
  message(message&&) = default;
  message& operator=(message&&) = default;
  virtual ~message() = default;

  /// The header's value, the last one if there are several; empty if there is none.
  const std::string& get_header(std::string_view name) const;
  bool has_header(std::string_view name) const { return headers_.find(name) != headers_.end(); }
  const headers_type& get_headers() const { return headers_; }
  void add_header(std::string_view name, std::string_view value);
  /// Replaces all values of the header, or adds it.
  void change_header(std::string_view name, std::string_view value);
  void delete_header(std::string_view name);
  void set_content_type(std::string_view type) { change_header("Content-Type", type); }

  /// True once a parser has finished the message, or its headers if it reads no further.
  bool is_valid() const { return valid_; }
  void set_is_valid(bool valid) { valid_ = valid; }

  /// True if the transfer coding is chunked.
  bool is_chunked() const { return chunked_; }
  void set_chunked(bool chunked) { chunked_ = chunked; }

  /// The bytes of get_content(), or before there is a content those that the headers announce.
  /// Never more than the parser's limit.
  std::size_t get_content_length() const { return content_length_; }
  void set_content_length(std::size_t length) { content_length_ = length; }

  /// The content with a zero byte behind it; an empty string if there is none.
  const char* get_content() const { return content_ ? content_.get() : ""; }
  /// Makes room for a content of get_content_length() bytes, which aren't initialized, but for the
  /// zero byte behind them. The old content is thrown away.
  char* create_content_buffer();
  /// Puts \p data behind the first \p filled bytes of the content, and a zero byte behind that.
  /// Makes room as needed; the length isn't changed.
  void put_content(std::size_t filled, std::string_view data);
  /// Takes the content off: the length is 0, the content the empty string.
  void clear_content();

  std::uint16_t get_version_major() const { return version_major_; }
  std::uint16_t get_version_minor() const { return version_minor_; }
  void set_version(std::uint16_t major, std::uint16_t minor);
  /// For example "HTTP/1.1".
  std::string get_version_string() const;

  /// Whether the sender expects the connection to stay open after the message.
  bool check_keep_alive() const;

 private:
  headers_type headers_;
  std::unique_ptr<char[]> content_;
  std::size_t content_length_ = 0;
  std::size_t capacity_ = 0;
  std::uint16_t version_major_ = 1;
  std::uint16_t version_minor_ = 1;
  bool valid_ = false;
  bool chunked_ = false;
};

/// A request. The target is kept as it was sent, nothing is decoded.
class request : public message {
 public:
  const std::string& get_method() const { return method_; }
  void set_method(std::string_view method) { method_ = method; }
  /// The target up to the first "?".
  const std::string& get_resource() const { return resource_; }
  void set_resource(std::string_view resource) { resource_ = resource; }
  /// What follows the first "?".
  const std::string& get_query_string() const { return query_string_; }
  void set_query_string(std::string_view query) { query_string_ = query; }

 private:
  std::string method_;
  std::string resource_;
  std::string query_string_;
};

/// A response, 200 "OK" unless changed.
class response : public message {
 public:
  unsigned get_status_code() const { return status_code_; }
  void set_status_code(unsigned code) { status_code_ = code; }
  const std::string& get_status_message() const { return status_message_; }
  void set_status_message(std::string_view text) { status_message_ = text; }

 private:
  unsigned status_code_ = 200;
  std::string status_message_ = "OK";
};

using request_ptr = std::shared_ptr<request>;
using response_ptr = std::shared_ptr<response>;

}  // namespace pion::http
