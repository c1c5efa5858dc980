#pragma once

#include <boost/asio/dispatch.hpp>
#include <boost/function.hpp>
#include <istream>
#include <memory>
#include <string>
#include <utility>

#include "krova/core/contract.h"
#include "krova/core/protocol.h"
#include "krova/transport/http/http_server_transport.h"
#include "krova/transport/http/stream_buffer.h"

namespace Krova::Provider {

/// Serves one request, from its bytes to those of its answer.
class AsyncProtocolHandler {
 public:
  /// Called when the request has arrived.
  using OnReceived = boost::function<void()>;
  /// Called when the answer is through; the error is null if it is.
  using OnFinished = boost::function<void(const std::shared_ptr<const Data::ErrorValue>& error)>;

  /// Returns at once.
  virtual void HandleRequest(const OnReceived& onReceived, const OnFinished& onFinished) = 0;
  virtual ~AsyncProtocolHandler() = default;
};

/// Reads a request from a transport, hands it to a provider and sends what comes back.
/// \tparam Transport  With Send, Recv and GetStrand as HttpServerTransport has them.
template <typename Transport>
class AsyncProtocolHandlerHelper
    : public AsyncProtocolHandler,
      public std::enable_shared_from_this<AsyncProtocolHandlerHelper<Transport>> {
 public:
  /// \param executor  Runs onReceived.
  AsyncProtocolHandlerHelper(std::shared_ptr<Transport> transport,
                             std::shared_ptr<Core::AsyncApiProvider> provider,
                             Core::Executor executor,
                             std::shared_ptr<Core::ApiRequestDeserializer> deserializer,
                             std::shared_ptr<Core::ApiResponseSerializer> serializer);

  void HandleRequest(const OnReceived& onReceived, const OnFinished& onFinished) override;

 private:
  using BufferPointer = typename Transport::BufferPointer;
  using Error = std::shared_ptr<const Data::ErrorValue>;
  template <typename Received, typename Finished>
  class ReqReadCb;
  class AsyncRequestVisitor;
  class ResponseWrapper;
  class RespWriteCb;

  void SendProtocolError(const Error& fault, const OnFinished& onFinished);

  std::shared_ptr<Transport> transport_;
  std::shared_ptr<Core::AsyncApiProvider> provider_;
  Core::Executor executor_;
  std::shared_ptr<Core::ApiRequestDeserializer> deserializer_;
  std::shared_ptr<Core::ApiResponseSerializer> serializer_;
  BufferPointer requestBuffer_;
};

extern template class AsyncProtocolHandlerHelper<Transport::Http::PlainTransport>;
extern template class AsyncProtocolHandlerHelper<Transport::Http::FramedTransport>;

}  // namespace Krova::Provider
