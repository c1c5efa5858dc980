#pragma once

#include <memory>

#include "krova/core/contract.h"
#include "pion/http/message.h"
#include "pion/tcp/connection.h"

namespace Krova::Transport::Http {

/// The function object that serves the API's resource on the HTTP server. The server has to
/// dispatch after the headers, since the content is read here.
///
/// Two headers decide. `Content-Type` has to be the one or the other of the API's media types
/// exactly, or the answer is an empty 200. `Accept` with the framed type anywhere in it asks for
/// frames: each progress report and the result is one; else the result alone is the body of the
/// answer. Every answer ends the connection.
class PionHttpServerRequestHandler {
 public:
  /// \param executor  Runs work later on the I/O service of the server.
  PionHttpServerRequestHandler(std::shared_ptr<Core::AsyncApiProvider> provider,
                               Core::Executor executor);

  void operator()(const pion::http::request_ptr& request,
                  const pion::tcp::connection_ptr& connection) const;

 private:
  std::shared_ptr<Core::AsyncApiProvider> provider_;
  Core::Executor executor_;
};

}  // namespace Krova::Transport::Http
