// What the library's operations throw.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace Tunrak {

/// Any failure of the library and of what is built on it. what() is English text in UTF-8 for
/// whoever reads a log: it names the peer and the step that failed, and never holds a password. It
/// is one line, whatever a peer has put into it.
class Exception : public std::runtime_error {
 public:
  explicit Exception(std::string text) : std::runtime_error(OneLine(std::move(text))) {}

 private:
  static std::string OneLine(std::string text) {
    for (char& c : text) {
      if ((c >= '\0' && c < ' ') || c == '\x7f') c = ' ';
    }
    return text;
  }
};

/// An object isn't of the type that was asked for.
class TypeMismatchException : public Exception {
 public:
  TypeMismatchException(const std::string& expected, const std::string& found)
      : Exception("Type mismatch: expected " + expected + ", found " + found + ".") {}
};

}  // namespace Tunrak
