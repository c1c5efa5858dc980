#include "pion/http/message.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace pion::http {
namespace {

/// Not the C library's: a header doesn't depend on the locale.
constexpr char to_lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool header_less::operator()(std::string_view left, std::string_view right) const {
  return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                      [](char a, char b) { return to_lower(a) < to_lower(b); });
}

const std::string& message::get_header(std::string_view name) const {
  static const std::string absent;
  const auto end = headers_.upper_bound(name);
  if (end == headers_.begin()) return absent;
  const auto last = std::prev(end);
  return headers_.key_comp()(last->first, name) ? absent : last->second;
}

void message::add_header(std::string_view name, std::string_view value) {
  headers_.emplace(name, value);
}

void message::change_header(std::string_view name, std::string_view value) {
  delete_header(name);
  add_header(name, value);
}

void message::delete_header(std::string_view name) {
  const auto [begin, end] = headers_.equal_range(name);
  headers_.erase(begin, end);
}

char* message::create_content_buffer() {
  content_ = std::make_unique_for_overwrite<char[]>(content_length_ + 1);
  capacity_ = content_length_;
  content_[content_length_] = '\0';
  return content_.get();
}

void message::put_content(std::size_t filled, std::string_view data) {
  const std::size_t end = filled + data.size();
  if (!content_ || end > capacity_) {
    const std::size_t capacity = std::max(end, 2 * capacity_);
    auto grown = std::make_unique_for_overwrite<char[]>(capacity + 1);
    if (filled > 0) std::memcpy(grown.get(), content_.get(), filled);
    content_ = std::move(grown);
    capacity_ = capacity;
  }
  if (!data.empty()) std::memcpy(content_.get() + filled, data.data(), data.size());
  content_[end] = '\0';
}

void message::clear_content() {
  content_.reset();
  content_length_ = 0;
  capacity_ = 0;
}

void message::set_version(std::uint16_t major, std::uint16_t minor) {
  version_major_ = major;
  version_minor_ = minor;
}

std::string message::get_version_string() const {
  return "HTTP/" + std::to_string(version_major_) + '.' + std::to_string(version_minor_);
}

bool message::check_keep_alive() const {
  const bool persistent = version_major_ > 1 || (version_major_ == 1 && version_minor_ >= 1);
  return persistent && get_header("Connection") != "close";
}

}  // namespace pion::http
