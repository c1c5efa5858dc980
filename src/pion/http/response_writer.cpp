#include "pion/http/response_writer.h"

#include <utility>

namespace pion::http {
namespace {

void append_header(std::string& head, std::string_view name, std::string_view value) {
  head.append(name).append(": ").append(value).append("\r\n");
}

}  // namespace

response_writer_ptr response_writer::create(const tcp::connection_ptr& connection,
                                            const request& request,
                                            finished_handler_type finished) {
  return response_writer_ptr(new response_writer(connection, request, std::move(finished)));
}

response_writer::response_writer(const tcp::connection_ptr& connection, const request& request,
                                 finished_handler_type finished)
    : writer(connection, std::move(finished)), response_(std::make_unique<response>()) {
  supports_chunked_messages(request.get_version_major() == 1 && request.get_version_minor() >= 1);
  if (request.get_header("Connection") == "close") {
    connection->set_lifecycle(tcp::connection::LIFECYCLE_CLOSE);
  }
}

void response_writer::prepare_headers(std::string& head) {
  head = "HTTP/1.1 " + std::to_string(response_->get_status_code()) + ' ' +
         response_->get_status_message() + "\r\n";
  if (!sending_chunked_message()) {
    append_header(head, "Content-Length", std::to_string(get_content_length()));
  } else if (supports_chunked_messages()) {
    append_header(head, "Transfer-Encoding", "chunked");
  }
  append_header(head, "Connection", get_connection()->get_keep_alive() ? "Keep-Alive" : "close");
  for (const auto& [name, value] : response_->get_headers()) append_header(head, name, value);
  head += "\r\n";
}

}  // namespace pion::http
