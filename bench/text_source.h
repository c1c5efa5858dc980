// A stream buffer over a text that isn't copied.
#pragma once

#include <streambuf>
#include <string>

namespace Bench {

/// Gives the text once. The text must outlive it.
class TextSource : public std::streambuf {
 public:
  explicit TextSource(std::string& text) {
    setg(text.data(), text.data(), text.data() + text.size());
  }
};

}  // namespace Bench
