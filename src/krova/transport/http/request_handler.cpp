#include "krova/transport/http/request_handler.h"

#include <string>
#include <utility>

#include "krova/protocol/json/request_deserializer.h"
#include "krova/protocol/json/response_serializer.h"
#include "krova/transport/http/http_server_transport.h"
#include "krova/transport/http/protocol_handler.h"
#include "krova/transport/http/remove_progress_provider.h"
#include "krova/transport/http/trace.h"
#include "pion/http/response_writer.h"

namespace Krova::Transport::Http {
namespace {

using Protocol::Json::JsonApiRequestDeserializer;
using Protocol::Json::JsonApiResponseSerializer;
using Protocol::Json::Secure;

constexpr char kJsonType[] = "application/json";
constexpr char kFramedType[] = "application/vnd.ostrel.krova.framed";

void LogRequest(const pion::http::request& request) {
  LogTrace([&](std::ostream& record) {
    record << "Http Request received " << '\n'
           << "Method: " << request.get_method() << '\n'
           << "Resource: " << request.get_resource() << '\n'
           << "IsValid: " << request.is_valid() << '\n'
           << "IsChunked: " << request.is_chunked() << '\n'
           << "ContentLength: " << request.get_content_length() << '\n'
           << "Accept: " << request.get_header("Accept") << '\n'
           << "Content-Type: " << request.get_header("Content-Type") << '\n'
           << "Content: " << request.get_content();
  });
}

bool IsServed(const pion::http::request& request) {
  const std::string& type = request.get_header("Content-Type");
  return request.is_valid() && (type == kJsonType || type == kFramedType);
}

bool AsksForFrames(const pion::http::request& request) {
  return request.get_header("Accept").find(kFramedType) != std::string::npos;
}

/// Takes the end of a request. A plain answer is complete then, and the connection ends when the
/// last one lets it go; frames are followed by their end.
class OnFinished {
 public:
  OnFinished(std::shared_ptr<Provider::AsyncProtocolHandler> handler,
             pion::http::response_writer_ptr writer, bool framed)
      : handler_(std::move(handler)), writer_(std::move(writer)), framed_(framed) {}

  void operator()(const std::shared_ptr<const Data::ErrorValue>& error) const {
    if (error == nullptr) {
      LogTrace("Request handled");
    } else {
      LogTrace(
          [&](std::ostream& record) { record << "handle request error: " << error->ToString(); });
    }
    if (framed_) {
      writer_->clear();
      writer_->send_final_chunk();
    } else {
      // Else the connection would stay as long as a service keeps the completion that it has
      // called.
      writer_->get_connection()->finish();
    }
  }

 private:
  std::shared_ptr<Provider::AsyncProtocolHandler> handler_;
  pion::http::response_writer_ptr writer_;
  bool framed_;
};

template <typename Transport>
std::shared_ptr<Provider::AsyncProtocolHandler> MakeProtocolHandler(
    const pion::http::request_ptr& request, const pion::tcp::connection_ptr& connection,
    const pion::http::response_writer_ptr& writer, std::shared_ptr<Core::AsyncApiProvider> provider,
    const Core::Executor& executor) {
  return std::make_shared<Provider::AsyncProtocolHandlerHelper<Transport>>(
      std::make_shared<Transport>(connection->get_io_service(), request, connection, writer),
      std::move(provider), executor, std::make_shared<JsonApiRequestDeserializer>(),
      std::make_shared<JsonApiResponseSerializer<Secure>>());
}

}  // namespace

PionHttpServerRequestHandler::PionHttpServerRequestHandler(
    std::shared_ptr<Core::AsyncApiProvider> provider, Core::Executor executor)
    : provider_(std::move(provider)), executor_(std::move(executor)) {}

void PionHttpServerRequestHandler::operator()(const pion::http::request_ptr& request,
                                              const pion::tcp::connection_ptr& connection) const {
  LogRequest(*request);
  request->change_header("Connection", "close");
  const auto writer = pion::http::response_writer::create(
      connection, *request,
      [connection](const boost::system::error_code&) { connection->finish(); });
  if (!IsServed(*request)) {
    LogTrace("Ignoring invalid request");
    writer->send();
    return;
  }
  const bool framed = AsksForFrames(*request);
  writer->get_response().set_content_type(framed ? kFramedType : kJsonType);
  const auto handler =
      framed
          ? MakeProtocolHandler<FramedTransport>(request, connection, writer, provider_, executor_)
          : MakeProtocolHandler<PlainTransport>(
                request, connection, writer,
                std::make_shared<Provider::RemoveProgressProvider>(provider_), executor_);
  handler->HandleRequest([] { LogTrace("Request received"); }, OnFinished(handler, writer, framed));
}

}  // namespace Krova::Transport::Http
