#include "krova/provider/md5.h"

#include <string>

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <boost/core/ref.hpp>
#include <boost/iostreams/stream.hpp>

#include "krova/provider/md5_sink.h"

namespace Krova::Provider {
namespace {

Md5::Digest DigestOfOpenSsl(const std::string& text) {
  Md5::Digest digest{};
  unsigned int size = 0;
  EXPECT_EQ(EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_md5(), nullptr), 1);
  EXPECT_EQ(size, digest.size());
  return digest;
}

std::string TextOfSize(std::size_t size) {
  std::string text;
  for (std::size_t place = 0; place < size; ++place) text += static_cast<char>(place * 7 + size);
  return text;
}

TEST(Md5, AgreesWithOpenSslAroundEveryBlockEnd) {
  for (std::size_t size = 0; size < 300; ++size) {
    Md5 md5;
    md5.Update(TextOfSize(size));
    EXPECT_EQ(md5.Finish(), DigestOfOpenSsl(TextOfSize(size))) << size;
  }
}

TEST(Md5, DoesntCareHowTheMessageIsCut) {
  const std::string text = TextOfSize(200);
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    Md5 md5;
    md5.Update(std::string_view(text).substr(0, cut));
    md5.Update(std::string_view(text).substr(cut));
    EXPECT_EQ(md5.Finish(), DigestOfOpenSsl(text)) << cut;
  }
}

TEST(MD5Sink, DigestsWhatAStreamWrites) {
  MD5Sink sink;
  boost::iostreams::stream<boost::reference_wrapper<MD5Sink>> stream;
  stream.open(boost::ref(sink), 64);
  stream << TextOfSize(1000) << 12;
  stream.close();
  EXPECT_EQ(sink.GetDigest(), DigestOfOpenSsl(TextOfSize(1000) + "12"));
}

}  // namespace
}  // namespace Krova::Provider
