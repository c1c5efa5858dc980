#pragma once

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/function.hpp>
#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <utility>

#include "krova/data/value.h"
#include "krova/transport/http/chunk_reader.h"
#include "krova/transport/http/pion_policies.h"
#include "krova/transport/http/stream_buffer.h"
#include "pion/http/response_writer.h"

namespace Krova::Transport::Http {

/// Takes the end of a frame: null on success, and the bytes that were moved.
using FrameCallback =
    boost::function<void(const std::shared_ptr<const Data::ErrorValue>& error, std::size_t bytes)>;

/// A buffer that waits to be sent or filled, and who is told when it is done.
struct Frame {
  StreamBufferPointer buffer;
  FrameCallback callback;
};
using FrameQueue = std::list<Frame>;

/// Calls every entry's callback with a "system_error" that holds one message, and empties the
/// queue.
/// \param id  Of the message; its argument is the text of \p error.
void FailFrames(FrameQueue& queue, const char* id, const boost::system::error_code& error);

/// Carries the frames of one request and its answer over one connection.
///
/// Send() and Recv() may be called from any thread. All work on the queues happens on the strand,
/// so they have no locks and one write is under way at a time; callbacks run on the I/O service,
/// outside of the strand, and each is called exactly once. After a failure both queues fail. If it
/// was the socket's, later sends fail without reaching it, since it is closed by then.
///
/// \tparam SendPolicy  Of PionWriteHelper. \tparam ReadPolicy  Of PionReadHelper.
template <typename SendPolicy, typename ReadPolicy>
class HttpServerTransport
    : public std::enable_shared_from_this<HttpServerTransport<SendPolicy, ReadPolicy>> {
 public:
  using BufferPointer = StreamBufferPointer;
  using Strand = boost::asio::strand<boost::asio::io_context::executor_type>;

  HttpServerTransport(boost::asio::io_context& service, const pion::http::request_ptr& request,
                      const pion::tcp::connection_ptr& connection,
                      const pion::http::response_writer_ptr& writer);
  ~HttpServerTransport();
  HttpServerTransport(const HttpServerTransport&) = delete;
  HttpServerTransport& operator=(const HttpServerTransport&) = delete;

  /// Sends the buffer behind those that wait. It mustn't be changed any more.
  void Send(const StreamBufferPointer& buffer, const FrameCallback& callback);
  /// Fills the buffer with the next frame.
  void Recv(const StreamBufferPointer& buffer, const FrameCallback& callback);

  const Strand& GetStrand() const { return strand_; }

 private:
  // The steps of a frame's way.
  struct SendTag {
    struct Start {};
    struct Next {};
    struct Error {};
  };
  struct RecvTag {
    struct Start {};
    struct Next {};
  };
  struct SendDirection;
  struct RecvDirection;
  template <typename Direction>
  class FrameHandledCb;

  void Step(typename SendTag::Start);
  void Step(typename SendTag::Next);
  void Step(typename SendTag::Error, const boost::system::error_code& error);
  void Step(typename RecvTag::Start);
  void Step(typename RecvTag::Next);

  static void Enqueue(FrameQueue& queue, const StreamBufferPointer& buffer,
                      const FrameCallback& callback);
  void HandleFrame(SendDirection direction);
  void HandleFrame(RecvDirection direction);
  template <typename Direction>
  void FrameHandled(const boost::system::error_code& error, std::size_t bytes);
  void CommunicationError(const boost::system::error_code& error);

  boost::asio::io_context& service_;
  Strand strand_;
  pion::http::request_ptr request_;
  pion::tcp::connection_ptr connection_;
  pion::http::response_writer_ptr writer_;
  std::shared_ptr<pion::http::chunk_reader> reader_;
  FrameQueue sendQueue_;
  FrameQueue recvQueue_;
};

using PlainTransport =
    HttpServerTransport<PionWriteHelper::SendAsBody, PionReadHelper::ReadFromBody>;
using FramedTransport =
    HttpServerTransport<PionWriteHelper::SendAsFramedChunk, PionReadHelper::ReadFromBody>;

extern template class HttpServerTransport<PionWriteHelper::SendAsBody,
                                          PionReadHelper::ReadFromBody>;
extern template class HttpServerTransport<PionWriteHelper::SendAsFramedChunk,
                                          PionReadHelper::ReadFromBody>;

}  // namespace Krova::Transport::Http
