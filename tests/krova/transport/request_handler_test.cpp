#include "krova/transport/http/request_handler.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "krova/data/message_value.h"
#include "krova/protocol/value_text.h"
#include "krova/transport/api_fixture.h"

namespace Krova::Testing {
namespace {

using pion_test::test_client;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kPlainHead[] = "HTTP/1.1 200 OK\r\nContent-Length: ";
constexpr char kPlainRest[] = "\r\nConnection: close\r\nContent-Type: application/json\r\n\r\n";
constexpr char kFramedHead[] =
    "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n"
    "Content-Type: application/vnd.ostrel.krova.framed\r\n\r\n";
constexpr char kEmptyAnswer[] = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

std::string Plain(const std::string& body) {
  return kPlainHead + std::to_string(body.size()) + kPlainRest + body;
}

class RequestHandler : public ApiFixture {};

TEST_F(RequestHandler, AnswersPlainByteForByte) {
  EXPECT_EQ(Exchange(MakeRequest(kJson)), Plain(kDone));
}

TEST_F(RequestHandler, AnswersFramedByteForByte) {
  EXPECT_EQ(Exchange(MakeRequest(std::string(kJson) + kAcceptFrames)),
            kFramedHead + Chunk(kDone) + "0\r\n\r\n");
}

TEST_F(RequestHandler, AcceptWithTheFramedTypeAnywhereGetsFrames) {
  EXPECT_THAT(Exchange(MakeRequest(std::string(kJson) + "Accept: application/json, "
                                                        "application/vnd.ostrel.krova.framed\r\n")),
              StartsWith(kFramedHead));
  EXPECT_THAT(
      Exchange(MakeRequest(std::string(kJson) + "Accept: APPLICATION/VND.OSTREL.KROVA.FRAMED\r\n")),
      StartsWith(kPlainHead));
}

TEST_F(RequestHandler, MissingAcceptGetsAPlainAnswer) {
  EXPECT_THAT(Exchange(MakeRequest(kJson)), StartsWith(kPlainHead));
}

TEST_F(RequestHandler, FramedContentTypeIsTakenAndFramesNothingOfTheRequest) {
  EXPECT_EQ(Exchange(MakeRequest("Content-Type: application/vnd.ostrel.krova.framed\r\n")),
            Plain(kDone));
}

TEST_F(RequestHandler, WrongContentTypeGetsAnEmptyAnswer) {
  std::atomic<int> calls = 0;
  provider_->play = [&](const Call&) { ++calls; };
  for (const char* type : {"Content-Type: application/json; charset=utf-8\r\n",
                           "Content-Type: Application/JSON\r\n", "Content-Type: text/plain\r\n", "",
                           "Content-Type: application/vnd.ostrel.krova.framed2\r\n"}) {
    EXPECT_EQ(Exchange(MakeRequest(type)), kEmptyAnswer) << type;
    EXPECT_EQ(Exchange(MakeRequest(std::string(type) + kAcceptFrames)), kEmptyAnswer) << type;
  }
  EXPECT_EQ(calls, 0);
}

TEST_F(RequestHandler, WrongContentTypeWithALargeBodyGetsOneEmptyAnswerAndNoReset) {
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(Exchange(MakeRequest("", std::string(1048576, 'x'))), kEmptyAnswer);
  }
}

TEST_F(RequestHandler, MethodIsNotLookedAt) {
  for (const char* method : {"GET", "HEAD", "PUT", "BREW"}) {
    std::string request = MakeRequest(kJson);
    request.replace(0, 4, method);
    EXPECT_EQ(Exchange(request), Plain(kDone)) << method;
  }
}

TEST_F(RequestHandler, GivesTheProviderWhatTheClientSent) {
  Call seen;
  provider_->play = [&](const Call& call) {
    seen = call;
    call.Finish("done");
  };
  Exchange(MakeRequest(kJson));
  server_->stop();
  ASSERT_NE(seen.method, nullptr);
  EXPECT_EQ(seen.method->GetInterface()->GetName(), "s");
  EXPECT_EQ(seen.method->GetName(), "o");
  EXPECT_EQ(seen.activation->GetData("request_id"), "7");
  ASSERT_NE(seen.activation->GetContext(), nullptr);
  EXPECT_EQ(WriteValue(seen.input), R"("in")");
}

TEST_F(RequestHandler, ProgressReachesAFramedClientInOrderAndAPlainOneNever) {
  provider_->play = [](const Call& call) {
    call.Report({0, 100, 10});
    call.Report({0, 100, 20});
    call.Finish("done");
  };
  const auto report = [](int current) {
    return R"({"jsonrpc":"2.0","id":"7","result":{"progress":{"STRUCTURE":{)"
           R"("com.ostrel.krova.std.progress":{"min":0,"max":100,"current":)" +
           std::to_string(current) + "}}}}}";
  };
  EXPECT_EQ(Exchange(MakeRequest(std::string(kJson) + kAcceptFrames)),
            kFramedHead + Chunk(report(10)) + Chunk(report(20)) + Chunk(kDone) + "0\r\n\r\n");
  EXPECT_EQ(Exchange(MakeRequest(kJson)), Plain(kDone));
}

TEST_F(RequestHandler, FrameOf255BytesBeginsWithItsLengthInHexadecimal) {
  const std::string envelope = R"({"jsonrpc":"2.0","id":"7","result":{"output":""}})";
  const std::string output(255 - envelope.size(), 'x');
  provider_->play = [&](const Call& call) { call.Finish(output); };
  EXPECT_THAT(Exchange(MakeRequest(std::string(kJson) + kAcceptFrames)),
              HasSubstr("\r\n\r\n105\r\nff\r\n{\"jsonrpc\""));
}

TEST_F(RequestHandler, OlderClientGetsFramesWithoutChunks) {
  std::string request = MakeRequest(std::string(kJson) + kAcceptFrames);
  request.replace(request.find("HTTP/1.1"), 8, "HTTP/1.0");
  char length[20];
  std::snprintf(length, sizeof(length), "%zx", sizeof(kDone) - 1);
  EXPECT_EQ(Exchange(request), std::string("HTTP/1.1 200 OK\r\nConnection: close\r\n"
                                           "Content-Type: application/vnd.ostrel.krova.framed\r\n"
                                           "\r\n") +
                                   length + "\r\n" + kDone + "\r\n");
}

TEST_F(RequestHandler, EmptyBodyGetsNoAnswerInThePlainWayAndTheLastChunkInTheFramedOne) {
  for (const char* length : {"", "Content-Length: 0\r\n"}) {
    const std::string head = std::string("POST /api HTTP/1.1\r\n") + kJson + length;
    EXPECT_EQ(Exchange(head + "\r\n"), "");
    EXPECT_EQ(Exchange(head + kAcceptFrames + "\r\n"), std::string(kFramedHead) + "0\r\n\r\n");
  }
  EXPECT_EQ(Exchange(std::string("POST /api HTTP/1.1\r\n") + kJson +
                     "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n"),
            "");
}

TEST_F(RequestHandler, ProtocolFaultIsAnsweredInTheWayThatWasAskedFor) {
  const std::string fault =
      R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"Parse error."}})";
  for (const char* body : {"no JSON", "   ", "{", "\xff"}) {
    EXPECT_EQ(Exchange(MakeRequest(kJson, body)), Plain(fault)) << body;
    EXPECT_EQ(Exchange(MakeRequest(std::string(kJson) + kAcceptFrames, body)),
              kFramedHead + Chunk(fault) + "0\r\n\r\n")
        << body;
  }
  EXPECT_THAT(Exchange(MakeRequest(kJson, R"({"jsonrpc":"2.0","id":1,"method":"invoke"})")),
              EndsWith(R"({"jsonrpc":"2.0","id":null,"error":{"code":-32600,)"
                       R"("message":"Invalid Request."}})"));
}

TEST_F(RequestHandler, ErrorOfTheMethodIsAResult) {
  provider_->play = [](const Call& call) {
    call.completion(std::make_shared<Core::MethodResult>(Data::MakeErrorValue("fault", {})),
                    kFinished);
  };
  EXPECT_EQ(Exchange(MakeRequest(kJson)),
            Plain(R"({"jsonrpc":"2.0","id":"7","result":{"error":{"ERROR":{"fault":)"
                  R"({"messages":[]}}}}})"));
}

TEST_F(RequestHandler, MalformedChunkIsAFailureToReadAndNeverACall) {
  std::atomic<int> calls = 0;
  provider_->play = [&](const Call&) { ++calls; };
  for (const char* body : {"x\r\n", "-1\r\n"}) {
    const std::string head =
        std::string("POST /api HTTP/1.1\r\n") + kJson + "Transfer-Encoding: chunked\r\n";
    EXPECT_EQ(Exchange(head + "\r\n" + body), "") << body;
    EXPECT_EQ(Exchange(head + kAcceptFrames + "\r\n" + body),
              std::string(kFramedHead) + "0\r\n\r\n")
        << body;
  }
  EXPECT_EQ(calls, 0);
}

TEST_F(RequestHandler, BodyOverTheLimitIsCutAndThereforeNoJson) {
  const std::string body = "\"" + std::string(1048576, 'x') + "\"";
  EXPECT_THAT(Exchange(MakeRequest(kJson, body)), HasSubstr("-32700"));
}

TEST_F(RequestHandler, CompletionMayComeFromAnyThreadAtAnyTime) {
  std::thread worker;
  provider_->play = [&](const Call& call) {
    worker = std::thread([call] {
      for (int i = 0; i < 50; ++i) call.Report({0, 50, i});
      call.Finish("done");
    });
  };
  const std::string answer = Exchange(MakeRequest(std::string(kJson) + kAcceptFrames));
  worker.join();
  std::size_t at = 0;
  for (int i = 0; i < 50; ++i) {
    at = answer.find("\"current\":" + std::to_string(i) + "}", at);
    ASSERT_NE(at, std::string::npos) << i;
  }
  EXPECT_THAT(answer, EndsWith(Chunk(kDone) + "0\r\n\r\n"));
}

TEST_F(RequestHandler, ConnectionEndsAlsoWhenTheServiceKeepsItsCompletion) {
  std::vector<Call> kept;
  provider_->play = [&](const Call& call) {
    kept.push_back(call);
    call.Finish("done");
  };
  EXPECT_EQ(Exchange(MakeRequest(kJson)), Plain(kDone));
  EXPECT_THAT(Exchange(MakeRequest(std::string(kJson) + kAcceptFrames)), EndsWith("0\r\n\r\n"));
  server_->stop();
  EXPECT_EQ(kept.size(), 2u);
}

TEST_F(RequestHandler, CallThatIsNeverCompletedEndsTheConnection) {
  provider_->play = [](const Call&) {};
  EXPECT_EQ(Exchange(MakeRequest(kJson)), "");
}

TEST_F(RequestHandler, ExceptionOfTheProviderEndsTheConnectionAndTheNextRequestIsServed) {
  provider_->play = [calls = 0](const Call& call) mutable {
    if (++calls == 1) throw std::runtime_error("broken");
    call.Finish("done");
  };
  EXPECT_EQ(Exchange(MakeRequest(kJson)), "");
  EXPECT_EQ(Exchange(MakeRequest(kJson)), Plain(kDone));
}

TEST_F(RequestHandler, PipelinedRequestAfterTheFirstIsIgnored) {
  EXPECT_EQ(Exchange(MakeRequest(kJson) + MakeRequest(kJson)), Plain(kDone));
}

TEST_F(RequestHandler, RequestThatArrivesMeanwhileDoesNotDestroyTheAnswer) {
  Call seen;
  pion_test::gate called;
  provider_->play = [&](const Call& call) {
    seen = call;
    called.open();
  };
  test_client client(start());
  client.send(MakeRequest(kJson));
  ASSERT_TRUE(called.wait());
  client.send(MakeRequest(kJson));
  seen.Finish("done");
  EXPECT_EQ(client.read_all(), Plain(kDone));
  EXPECT_EQ(client.end(), boost::asio::error::eof);
}

TEST_F(RequestHandler, EndsTheConnectionWhateverTheClientAsksFor) {
  for (const char* connection : {"", "Connection: keep-alive\r\n", "Connection: Close\r\n",
                                 "Connection: close\r\n", "Connection: close, TE\r\n"}) {
    EXPECT_EQ(Exchange(MakeRequest(std::string(kJson) + connection)), Plain(kDone)) << connection;
  }
}

TEST_F(RequestHandler, EndsTheConnectionWhateverATrailerSays) {
  char size[20];
  std::snprintf(size, sizeof(size), "%zx", sizeof(kRequest) - 1);
  const auto request = [&](const std::string& headers) {
    return "POST /api HTTP/1.1\r\n" + std::string(kJson) + headers +
           "Transfer-Encoding: chunked\r\n\r\n" + size + "\r\n" + kRequest +
           "\r\n0\r\nConnection: keep-alive\r\n\r\n";
  };
  EXPECT_EQ(Exchange(request("")), Plain(kDone));
  EXPECT_EQ(Exchange(request(kAcceptFrames)), kFramedHead + Chunk(kDone) + "0\r\n\r\n");
}

TEST_F(RequestHandler, SilentClientsGetNothing) {
  // The content's reader has its own time, so this is about the headers alone.
  server_->set_read_timeout(std::chrono::milliseconds(50));
  for (const char* bytes : {"", "POST /api HTTP/1.1\r\nContent-Ty"}) {
    EXPECT_EQ(Exchange(bytes), "") << bytes;
  }
}

TEST_F(RequestHandler, ClientThatEndsInTheMiddleOfItsBodyGetsNothing) {
  start();
  for (const char* accept : {"", kAcceptFrames}) {
    test_client client(server_->get_port());
    client.send(std::string("POST /api HTTP/1.1\r\n") + kJson + accept +
                "Content-Length: 100\r\n\r\nhalf");
    client.end_sending();
    EXPECT_EQ(client.read_all(), "") << accept;
    EXPECT_FALSE(client.timed_out());
  }
}

class CutRequest : public ApiFixture, public testing::WithParamInterface<int> {};

TEST_P(CutRequest, GivesTheSameWhereverItIsCut) {
  if (GetParam() != 0) use_tls();
  const std::uint16_t port = start();
  auto context = pion_test::make_client_context(GetParam());
  const std::string plain = Plain(kDone);
  const std::string framed = kFramedHead + Chunk(kDone) + "0\r\n\r\n";
  for (const bool frames : {false, true}) {
    const std::string whole = MakeRequest(std::string(kJson) + (frames ? kAcceptFrames : ""));
    for (std::size_t cut = 1; cut < whole.size(); ++cut) {
      test_client client(port, GetParam() != 0 ? &context : nullptr);
      client.send(whole.substr(0, cut));
      client.send(whole.substr(cut));
      ASSERT_EQ(client.read_all(), frames ? framed : plain) << "cut at " << cut;
      ASSERT_EQ(client.end(), boost::asio::error::eof) << "cut at " << cut;
    }
  }
}
INSTANTIATE_TEST_SUITE_P(Versions, CutRequest, testing::Values(0, TLS1_2_VERSION, TLS1_3_VERSION),
                         [](const auto& row) {
                           return row.param == 0                ? std::string("Plain")
                                  : row.param == TLS1_2_VERSION ? std::string("Tls12")
                                                                : std::string("Tls13");
                         });

class ManyThreads : public ApiFixture {
 protected:
  ManyThreads() : ApiFixture(4) {}
};

TEST_F(ManyThreads, FramesKeepTheirOrderForSixtyFourClients) {
  provider_->play = [](const Call& call) {
    for (int i = 0; i < 5; ++i) call.Report({0, 5, i});
    call.Finish("done");
  };
  const std::uint16_t port = start();
  const std::string request = MakeRequest(std::string(kJson) + kAcceptFrames);
  std::string expected;
  std::atomic<int> right = 0;
  {
    test_client client(port);
    client.send(request);
    expected = client.read_all();
  }
  EXPECT_THAT(expected, EndsWith(Chunk(kDone) + "0\r\n\r\n"));
  std::vector<std::thread> clients;
  for (int i = 0; i < 64; ++i) {
    clients.emplace_back([&] {
      test_client client(port);
      client.send(request);
      if (client.read_all() == expected) ++right;
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(right, 64);
}

TEST_F(ManyThreads, StopWhileCallsAreUnderWayReturnsOnceTheyEnd) {
  for (int round = 0; round < 10; ++round) {
    std::atomic<int> running = 0;
    pion_test::gate letGo;
    provider_->play = [&](const Call& call) {
      ++running;
      letGo.wait();
      for (int i = 0; i < 3; ++i) call.Report({0, 3, i});
      call.Finish("done");
      --running;
    };
    server_->set_port(0);
    const std::uint16_t port = start();
    std::vector<std::unique_ptr<test_client>> clients;
    for (int i = 0; i < 3; ++i) {
      clients.push_back(std::make_unique<test_client>(port));
      clients.back()->send(MakeRequest(std::string(kJson) + (i == 0 ? "" : kAcceptFrames)));
    }
    while (running < 3) std::this_thread::yield();
    std::thread stopper([&] {
      server_->stop();
      EXPECT_EQ(running, 0);
    });
    for (auto& client : clients) EXPECT_EQ(client->read_all(), "");
    letGo.open();
    stopper.join();
    EXPECT_EQ(server_->get_connections(), 0u);
  }
}

}  // namespace
}  // namespace Krova::Testing
