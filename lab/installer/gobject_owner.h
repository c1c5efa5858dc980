// Owners of what GLib's libraries hand out.
#pragma once

#include <glib-object.h>

#include <memory>
#include <string>

namespace Lab {

struct ObjectDeleter {
  void operator()(gpointer object) const { g_object_unref(object); }
};

/// One reference to an object.
template <typename T>
using ObjectOwner = std::unique_ptr<T, ObjectDeleter>;

struct TextDeleter {
  void operator()(gchar* text) const { g_free(text); }
};
using TextOwner = std::unique_ptr<gchar, TextDeleter>;

/// The error that a call may leave behind; to be passed as the call's last argument.
class CallError {
 public:
  CallError() = default;
  CallError(const CallError&) = delete;
  CallError& operator=(const CallError&) = delete;
  ~CallError() { g_clear_error(&error_); }
  operator GError**() { return &error_; }
  bool Happened() const { return error_ != nullptr; }
  std::string Text() const { return error_ == nullptr ? "no reason given" : error_->message; }

 private:
  GError* error_ = nullptr;
};

}  // namespace Lab
