#include "krova/transport/http/protocol_handler.h"

namespace Krova::Provider {

/// Takes the end of a write. A progress report that couldn't be sent isn't reported: the transport
/// has failed whatever follows it.
template <typename Transport>
class AsyncProtocolHandlerHelper<Transport>::RespWriteCb {
 public:
  RespWriteCb(std::shared_ptr<AsyncProtocolHandlerHelper> handler, BufferPointer buffer,
              OnFinished onFinished, bool final)
      : handler_(std::move(handler)),
        buffer_(std::move(buffer)),
        onFinished_(std::move(onFinished)),
        final_(final) {}

  void operator()(const Error& error, std::size_t) const {
    if (final_) onFinished_(error);
  }

 private:
  std::shared_ptr<AsyncProtocolHandlerHelper> handler_;
  BufferPointer buffer_;
  OnFinished onFinished_;
  bool final_;
};

/// The provider's completion: writes each report and the result, on any thread.
template <typename Transport>
class AsyncProtocolHandlerHelper<Transport>::ResponseWrapper {
 public:
  ResponseWrapper(std::shared_ptr<AsyncProtocolHandlerHelper> handler, std::string id,
                  OnFinished onFinished)
      : handler_(std::move(handler)), id_(std::move(id)), onFinished_(std::move(onFinished)) {}

  void operator()(const std::shared_ptr<Core::MethodResult>& result,
                  const Progress& progress) const {
    const auto buffer = std::make_shared<typename BufferPointer::element_type>();
    const bool final = result != nullptr;
    Error error;
    if (final) {
      handler_->serializer_->SerializeResult(id_, result, *buffer, error);
    } else {
      handler_->serializer_->SerializeProgress(id_, progress, *buffer, error);
    }
    if (error != nullptr) {
      onFinished_(error);
      return;
    }
    handler_->transport_->Send(buffer, RespWriteCb(handler_, buffer, onFinished_, final));
  }

 private:
  std::shared_ptr<AsyncProtocolHandlerHelper> handler_;
  std::string id_;
  OnFinished onFinished_;
};

/// Takes a request that was understood and calls the provider.
template <typename Transport>
class AsyncProtocolHandlerHelper<Transport>::AsyncRequestVisitor : public Core::ApiRequestVisitor {
 public:
  AsyncRequestVisitor(std::shared_ptr<AsyncProtocolHandlerHelper> handler, OnFinished onFinished)
      : handler_(std::move(handler)), onFinished_(std::move(onFinished)) {}

  void Invoke(const std::string& id, const std::shared_ptr<const Core::MethodIdentifier>& method,
              const std::shared_ptr<const Data::DataValue>& input,
              const std::shared_ptr<Core::ExecutionContext>& context) override {
    const auto activation = std::make_shared<Core::AsyncActivation>(context);
    activation->SetData(Core::kRequestIdKey, id);
    handler_->provider_->Invoke(method, input, activation,
                                ResponseWrapper(handler_, id, onFinished_));
  }

 private:
  std::shared_ptr<AsyncProtocolHandlerHelper> handler_;
  OnFinished onFinished_;
};

/// Takes the end of the read, on the transport's strand.
template <typename Transport>
template <typename Received, typename Finished>
class AsyncProtocolHandlerHelper<Transport>::ReqReadCb {
 public:
  ReqReadCb(std::shared_ptr<AsyncProtocolHandlerHelper> handler, Received onReceived,
            Finished onFinished)
      : handler_(std::move(handler)),
        onReceived_(std::move(onReceived)),
        onFinished_(std::move(onFinished)) {}

  void operator()(const Error& error, std::size_t bytes) const {
    if (error != nullptr) {
      onFinished_(error);
      return;
    }
    handler_->executor_(onReceived_);
    if (bytes == 0) {
      onFinished_(nullptr);
      return;
    }
    std::istream request(handler_->requestBuffer_.get());
    AsyncRequestVisitor visitor(handler_, onFinished_);
    Error fault;
    if (!handler_->deserializer_->Deserialize(request, visitor, fault)) {
      handler_->SendProtocolError(fault, onFinished_);
    }
  }

 private:
  std::shared_ptr<AsyncProtocolHandlerHelper> handler_;
  Received onReceived_;
  Finished onFinished_;
};

template <typename Transport>
AsyncProtocolHandlerHelper<Transport>::AsyncProtocolHandlerHelper(
    std::shared_ptr<Transport> transport, std::shared_ptr<Core::AsyncApiProvider> provider,
    Core::Executor executor, std::shared_ptr<Core::ApiRequestDeserializer> deserializer,
    std::shared_ptr<Core::ApiResponseSerializer> serializer)
    : transport_(std::move(transport)),
      provider_(std::move(provider)),
      executor_(std::move(executor)),
      deserializer_(std::move(deserializer)),
      serializer_(std::move(serializer)),
      requestBuffer_(std::make_shared<typename BufferPointer::element_type>()) {}

template <typename Transport>
void AsyncProtocolHandlerHelper<Transport>::HandleRequest(const OnReceived& onReceived,
                                                          const OnFinished& onFinished) {
  const ReqReadCb<OnReceived, OnFinished> read(this->shared_from_this(), onReceived, onFinished);
  transport_->Recv(requestBuffer_,
                   [strand = transport_->GetStrand(), read](const Error& error, std::size_t bytes) {
                     boost::asio::dispatch(strand, [read, error, bytes] { read(error, bytes); });
                   });
}

template <typename Transport>
void AsyncProtocolHandlerHelper<Transport>::SendProtocolError(const Error& fault,
                                                              const OnFinished& onFinished) {
  const auto buffer = std::make_shared<typename BufferPointer::element_type>();
  Error error;
  serializer_->SerializeError(fault, *buffer, error);
  transport_->Send(buffer, RespWriteCb(this->shared_from_this(), buffer, onFinished, true));
}

template class AsyncProtocolHandlerHelper<Transport::Http::PlainTransport>;
template class AsyncProtocolHandlerHelper<Transport::Http::FramedTransport>;

}  // namespace Krova::Provider
