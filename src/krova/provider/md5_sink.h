// A stream device that digests what is written to it.
#pragma once

#include <ios>
#include <string_view>

#include <boost/iostreams/categories.hpp>

#include "krova/provider/md5.h"

namespace Krova::Provider {

/// Give it to a boost::iostreams::stream by boost::ref, and read the digest after the stream was
/// closed.
class MD5Sink {
 public:
  using char_type = char;
  struct category : boost::iostreams::sink_tag, boost::iostreams::closable_tag {};

  std::streamsize write(const char* bytes, std::streamsize count) {
    digester_.Update(std::string_view(bytes, static_cast<std::size_t>(count)));
    return count;
  }
  void close() { digest_ = digester_.Finish(); }

  const Md5::Digest& GetDigest() const { return digest_; }

 private:
  Md5 digester_;
  Md5::Digest digest_{};
};

}  // namespace Krova::Provider
