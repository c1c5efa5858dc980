#include "krova/transport/http/http_server_transport.h"

#include "krova/data/message_value.h"
#include "krova/messages.h"
#include "krova/standard_errors.h"
#include "krova/transport/http/trace.h"
#include "krova/transport/http/transport_error.h"

namespace Krova::Transport::Http {

using boost::system::error_code;

void FailFrames(FrameQueue& queue, const char* id, const error_code& error) {
  const FrameQueue failed = std::exchange(queue, FrameQueue());
  for (const Frame& frame : failed) {
    frame.callback(Data::MakeErrorValue(kSystemError, {MakeMessage(id, error.message())}), 0);
  }
}

template <typename SendPolicy, typename ReadPolicy>
struct HttpServerTransport<SendPolicy, ReadPolicy>::SendDirection {
  using Next = typename SendTag::Next;
  static FrameQueue& QueueOf(HttpServerTransport& transport) { return transport.sendQueue_; }
  static void Fail(HttpServerTransport& transport, const error_code& error) {
    transport.Step(typename SendTag::Error(), error);
  }
};

template <typename SendPolicy, typename ReadPolicy>
struct HttpServerTransport<SendPolicy, ReadPolicy>::RecvDirection {
  using Next = typename RecvTag::Next;
  static FrameQueue& QueueOf(HttpServerTransport& transport) { return transport.recvQueue_; }
  static void Fail(HttpServerTransport& transport, const error_code& error) {
    transport.CommunicationError(error);
  }
};

/// Takes the end of a policy's operation, on the strand.
template <typename SendPolicy, typename ReadPolicy>
template <typename Direction>
class HttpServerTransport<SendPolicy, ReadPolicy>::FrameHandledCb {
 public:
  explicit FrameHandledCb(std::shared_ptr<HttpServerTransport> transport)
      : transport_(std::move(transport)) {}
  void operator()(const error_code& error, std::size_t bytes) {
    transport_->template FrameHandled<Direction>(error, bytes);
  }

 private:
  std::shared_ptr<HttpServerTransport> transport_;
};

template <typename SendPolicy, typename ReadPolicy>
HttpServerTransport<SendPolicy, ReadPolicy>::HttpServerTransport(
    boost::asio::io_context& service, const pion::http::request_ptr& request,
    const pion::tcp::connection_ptr& connection, const pion::http::response_writer_ptr& writer)
    : service_(service),
      strand_(service.get_executor()),
      request_(request),
      connection_(connection),
      writer_(writer),
      reader_(std::make_shared<pion::http::chunk_reader>(connection, request, true)) {
  LogTrace("HttpServerTransport created");
}

template <typename SendPolicy, typename ReadPolicy>
HttpServerTransport<SendPolicy, ReadPolicy>::~HttpServerTransport() {
  LogTrace("HttpServerTransport destroyed");
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Send(const StreamBufferPointer& buffer,
                                                       const FrameCallback& callback) {
  boost::asio::post(strand_, [self = this->shared_from_this(), buffer, callback] {
    Enqueue(self->sendQueue_, buffer, callback);
    if (self->sendQueue_.size() > 1) return;  // A write is under way.
    self->Step(typename SendTag::Start());
  });
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Recv(const StreamBufferPointer& buffer,
                                                       const FrameCallback& callback) {
  boost::asio::post(strand_, [self = this->shared_from_this(), buffer, callback] {
    Enqueue(self->recvQueue_, buffer, callback);
    self->Step(typename RecvTag::Start());
  });
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Step(typename SendTag::Start) {
  LogTrace("SendTag::Start");
  HandleFrame(SendDirection());
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Step(typename SendTag::Next) {
  LogTrace("SendTag::Next");
  if (!sendQueue_.empty()) Step(typename SendTag::Start());
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Step(typename SendTag::Error,
                                                       const error_code& error) {
  LogTrace("SendTag::Error");
  CommunicationError(error);
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Step(typename RecvTag::Start) {
  LogTrace("RecvTag::Start");
  HandleFrame(RecvDirection());
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Step(typename RecvTag::Next) {
  LogTrace("RecvTag::Next");
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::Enqueue(FrameQueue& queue,
                                                          const StreamBufferPointer& buffer,
                                                          const FrameCallback& callback) {
  LogTrace("Enqueue");
  queue.push_back({buffer, callback});
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::HandleFrame(SendDirection) {
  LogTrace("HandleFrame");
  SendPolicy::Handle(
      writer_, sendQueue_.front().buffer,
      boost::asio::bind_executor(strand_, FrameHandledCb<SendDirection>(this->shared_from_this())));
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::HandleFrame(RecvDirection) {
  LogTrace("HandleFrame");
  ReadPolicy::Handle(
      service_, reader_, recvQueue_.front().buffer,
      boost::asio::bind_executor(strand_, FrameHandledCb<RecvDirection>(this->shared_from_this())));
}

template <typename SendPolicy, typename ReadPolicy>
template <typename Direction>
void HttpServerTransport<SendPolicy, ReadPolicy>::FrameHandled(const error_code& error,
                                                               std::size_t bytes) {
  FrameQueue& queue = Direction::QueueOf(*this);
  // A failure of the other direction has failed this frame too; it has been told.
  if (queue.empty()) return;
  const bool ended = error == Error::MakeTransportError(Error::kProtocolReset);
  if (error && !ended) {
    Direction::Fail(*this, error);
    return;
  }
  LogTrace("FrameHandledCb");
  const Frame handled = queue.front();
  boost::asio::post(service_, [callback = handled.callback, bytes] { callback(nullptr, bytes); });
  LogTrace([&](std::ostream& record) { record << "Frame content: " << handled.buffer->GetText(); });
  queue.pop_front();
  Step(typename Direction::Next());
}

template <typename SendPolicy, typename ReadPolicy>
void HttpServerTransport<SendPolicy, ReadPolicy>::CommunicationError(const error_code& error) {
  LogTrace("CommunicationError");
  LogDebug([&](std::ostream& record) {
    record << "IO error: " << error.category().name() << ':' << error.value();
  });
  FailFrames(sendQueue_, "krova.send.failed", error);
  FailFrames(recvQueue_, "krova.recv.failed", error);
}

template class HttpServerTransport<PionWriteHelper::SendAsBody, PionReadHelper::ReadFromBody>;
template class HttpServerTransport<PionWriteHelper::SendAsFramedChunk,
                                   PionReadHelper::ReadFromBody>;

}  // namespace Krova::Transport::Http
