#pragma once

#include <memory>
#include <string>

#include "pion/http/message.h"
#include "pion/http/writer.h"

namespace pion::http {

class response_writer;
using response_writer_ptr = std::shared_ptr<response_writer>;

/// Sends the response to a request; see writer.
class response_writer : public writer {
 public:
  /// Makes the writer of a response 200 "OK", version 1.1, without headers. If the request's
  /// `Connection` is "close", as it was sent or as it has been changed to, the connection ends with
  /// the answer.
  /// \param finished  Called at the end of a send() or send_final_chunk() without a handler.
  static response_writer_ptr create(const tcp::connection_ptr& connection, const request& request,
                                    finished_handler_type finished = {});

  response& get_response() { return *response_; }

 private:
  response_writer(const tcp::connection_ptr& connection, const request& request,
                  finished_handler_type finished);

  void prepare_headers(std::string& head) override;

  const std::unique_ptr<response> response_;
};

template <typename T>
const response_writer_ptr& operator<<(const response_writer_ptr& to, const T& data) {
  to->write(data);
  return to;
}
inline const response_writer_ptr& operator<<(const response_writer_ptr& to,
                                             std::ios_base& (*manipulator)(std::ios_base&)) {
  to->write(manipulator);
  return to;
}

}  // namespace pion::http
