#include "pion/http/server.h"

#include <boost/exception/diagnostic_information.hpp>
#include <boost/exception/exception.hpp>
#include <new>
#include <utility>

#include "pion/http/error_pages.h"
#include "pion/http/request_reader.h"
#include "pion/http/response_writer.h"

namespace pion::http {
namespace {

using boost::system::error_code;

void answer(const request_ptr& request, const tcp::connection_ptr& connection, unsigned code,
            std::string_view reason, const std::string& page) {
  const auto writer = response_writer::create(
      connection, *request, [connection](const error_code&) { connection->finish(); });
  writer->get_response().set_status_code(code);
  writer->get_response().set_status_message(reason);
  writer->write(page.data(), page.size());
  writer->send();
}

void answer_bad_request(const request_ptr& request, const tcp::connection_ptr& connection) {
  connection->set_lifecycle(tcp::connection::LIFECYCLE_CLOSE);
  answer(request, connection, 400, "Bad Request", bad_request_page());
}

void answer_not_found(const request_ptr& request, const tcp::connection_ptr& connection) {
  answer(request, connection, 404, "Not Found", not_found_page(request->get_resource()));
}

void answer_server_error(const request_ptr& request, const tcp::connection_ptr& connection,
                         const std::string& what) {
  answer(request, connection, 500, "Server Error", server_error_page(what));
}

void drop(const tcp::connection_ptr& connection) {
  connection->set_lifecycle(tcp::connection::LIFECYCLE_CLOSE);
  connection->finish();
}

}  // namespace

server::server(scheduler& threads, const boost::asio::ip::tcp::endpoint& endpoint)
    : tcp::server(threads, endpoint),
      bad_request_(answer_bad_request),
      not_found_(answer_not_found),
      server_error_(answer_server_error) {}

server::~server() {
  // Here and not only in the base: until the end of the stop requests may still come in.
  stop(false);
  join();
}

void server::add_resource(std::string_view resource, request_handler_t handler) {
  resources_.add(resource, std::move(handler));
}

void server::remove_resource(std::string_view resource) { resources_.remove(resource); }

void server::clear() {
  stop(false);
  resources_.clear();
}

void server::handle_connection(const tcp::connection_ptr& connection) {
  const auto reader = request_reader::create(
      connection, [this](const request_ptr& request, const tcp::connection_ptr& from,
                         const error_code& error) { on_request(request, from, error); });
  reader->set_max_content_length(max_content_length_);
  reader->parse_headers_only(dispatch_after_headers_);
  reader->set_timeout(read_timeout_);
  reader->receive();
}

void server::on_request(const request_ptr& request, const tcp::connection_ptr& connection,
                        const error_code& error) {
  // Finishing the connection, here or on another thread, may let a stop end.
  const std::shared_ptr<void> inside = stay();
  if (!error && connection->is_open()) {
    dispatch(request, connection);
  } else if (error.category() == parser::get_error_category()) {
    call_handler(bad_request_, request, connection);
  } else {
    drop(connection);
  }
}

void server::dispatch(const request_ptr& request, const tcp::connection_ptr& connection) {
  const auto handler = resources_.find(request->get_resource());
  call_handler(handler ? *handler : not_found_, request, connection);
}

void server::call_handler(const request_handler_t& handler, const request_ptr& request,
                          const tcp::connection_ptr& connection) {
  try {
    try {
      handler(request, connection);
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& failure) {
      server_error_(request, connection, failure.what());
    } catch (const boost::exception& failure) {
      server_error_(request, connection, boost::diagnostic_information(failure));
    }
  } catch (...) {
    // Nothing is known about the state of the answer. The scheduler swallows what comes out of
    // here.
    drop(connection);
    throw;
  }
}

}  // namespace pion::http
