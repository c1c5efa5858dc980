// The library's own view of a TLS context.
#pragma once

#include <boost/asio/ssl/context.hpp>

#include "tunrak/ssl.h"

namespace Tunrak::Ssl {

class Context {
 public:
  Context() : native(boost::asio::ssl::context::tls_client) {}

  boost::asio::ssl::context native;
};

}  // namespace Tunrak::Ssl
