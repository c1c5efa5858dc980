// How a transport puts its frames on a connection and takes them off.
#pragma once

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <ios>
#include <memory>
#include <utility>

#include "krova/transport/http/chunk_reader.h"
#include "krova/transport/http/stream_buffer.h"
#include "krova/transport/http/transport_error.h"
#include "pion/http/response_writer.h"

namespace Krova::Transport::Http {

/// Ways to send a frame. The buffer has to stay until the handler, which takes the error and the
/// number of bytes, is called.
struct PionWriteHelper {
  /// The frame is the whole answer.
  struct SendAsBody {
    template <typename Handler>
    static void Handle(const pion::http::response_writer_ptr& writer,
                       const StreamBufferPointer& buffer, Handler handler) {
      writer->clear();
      writer->write_no_copy(buffer->GetText().data(), buffer->GetText().size());
      writer->send(std::move(handler));
    }
  };

  /// The frame is a chunk of the answer: its length in hexadecimal, CR LF, its bytes, CR LF.
  struct SendAsFramedChunk {
    template <typename Handler>
    static void Handle(const pion::http::response_writer_ptr& writer,
                       const StreamBufferPointer& buffer, Handler handler) {
      static constexpr char kLineEnd[] = {'\r', '\n'};
      writer->clear();
      writer << std::hex << buffer->GetText().size();
      writer->write(kLineEnd, sizeof(kLineEnd));
      writer->write_no_copy(buffer->GetText().data(), buffer->GetText().size());
      writer->write(kLineEnd, sizeof(kLineEnd));
      writer->send_chunk(std::move(handler));
    }
  };
};

/// Ways to receive a frame.
struct PionReadHelper {
  /// Takes the end of the reader, moves the content into the buffer and posts the handler.
  template <typename Handler>
  class ChunkRecved {
   public:
    ChunkRecved(boost::asio::io_context& service, StreamBufferPointer buffer, Handler handler)
        : service_(&service), buffer_(std::move(buffer)), handler_(std::move(handler)) {}

    void operator()(pion::http::message& message, const pion::tcp::connection_ptr&,
                    const boost::system::error_code& error) {
      if (error) {
        Post(error, 0);
        return;
      }
      const std::size_t bytes = message.get_content_length();
      buffer_->sputn(message.get_content(), static_cast<std::streamsize>(bytes));
      message.clear_content();
      Post(Error::MakeTransportError(Error::kProtocolReset), bytes);
    }

   private:
    void Post(const boost::system::error_code& error, std::size_t bytes) {
      const auto executor =
          boost::asio::get_associated_executor(handler_, service_->get_executor());
      boost::asio::post(executor,
                        [handler = handler_, error, bytes]() mutable { handler(error, bytes); });
    }

    boost::asio::io_context* service_;
    StreamBufferPointer buffer_;
    Handler handler_;
  };

  /// The body of the request is the one frame.
  struct ReadFromBody {
    template <typename Handler>
    static void Handle(boost::asio::io_context& service,
                       const std::shared_ptr<pion::http::chunk_reader>& reader,
                       const StreamBufferPointer& buffer, Handler handler) {
      reader->set_finished_handler(ChunkRecved<Handler>(service, buffer, std::move(handler)));
      reader->read_content();
    }
  };
};

}  // namespace Krova::Transport::Http
