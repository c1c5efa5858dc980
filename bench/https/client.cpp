// Load for the servers: https_client PORT TLS RESUME CONNECTIONS REQUESTS BODYSIZE OPERATION, for
// example https_client 9123 1.3 0 16 1000 200 echo. Keeps so many connections busy at once, each of
// which makes one request and is read to its end, and prints one line of JSON. With no request at
// all it holds the connections after their handshake until its standard input ends.
//
// Certificates aren't verified and there is one thread: what the client takes must stay well below
// what the server takes.
#include <sys/epoll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "exchange.h"
#include "tls_client.h"

namespace {

using Bench::Clock;
using Bench::Exchange;

struct Options {
  int port;
  int tlsVersion;
  bool resume;
  std::size_t connections;
  std::size_t requests;
  std::size_t bodySize;
  std::string operation;
};

struct Result {
  std::vector<double> milliseconds;
  std::size_t failures = 0;
  std::size_t resumed = 0;
  std::string answer;  ///< Of the request that ended last.
};

/// A request of the API whose input makes it so many bytes long at least.
std::string MakeRequest(const Options& options) {
  const std::string begin =
      R"({"jsonrpc":"2.0","id":"7","method":"invoke","params":{"serviceId":"s","operationId":")" +
      options.operation + R"(","input":")";
  const std::string end = R"(","ctx":{}}})";
  const std::size_t fixed = begin.size() + end.size();
  const std::string body =
      begin + std::string(std::max(options.bodySize, fixed) - fixed, 'x') + end;
  return "POST /api HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
         "Content-Type: application/json\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

Bench::ContextPointer MakeContext(const Options& options) {
  Bench::ContextPointer context = Bench::MakeClientContext(options.tlsVersion, options.resume);
  SSL_CTX_set_read_ahead(context.get(), 1);
  SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE);
  return context;
}

class Load {
 public:
  Load(const Options& options, SSL_CTX* context)
      : options_(options),
        context_(context),
        request_(options.requests > 0 ? MakeRequest(options) : std::string()),
        poll_(epoll_create1(EPOLL_CLOEXEC)) {}
  ~Load() { close(poll_); }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  /// \param requests  How many to make in all, \p connections of them at a time.
  Result Run(std::size_t requests, std::size_t connections) {
    result_ = Result();
    left_ = requests;
    while (running_ < connections && left_ > 0) Begin();
    while (running_ > 0) Wait();
    return std::move(result_);
  }

  /// Opens the connections and leaves them open. \return How many handshakes succeeded.
  std::size_t HoldIdle(std::size_t connections) {
    for (left_ = connections; left_ > 0 || running_ > 0;) {
      while (left_ > 0 && running_ < kHandshakesAtOnce) Begin();
      Wait();
    }
    return idle_;
  }

 private:
  static constexpr std::size_t kHandshakesAtOnce = 16;

  void Begin() {
    --left_;
    ++running_;
    exchanges_.push_back(std::make_unique<Exchange>(context_, options_.port, request_));
    Exchange& exchange = *exchanges_.back();
    epoll_event event{};
    event.events = EPOLLIN | EPOLLOUT | EPOLLET;
    event.data.ptr = &exchange;
    epoll_ctl(poll_, EPOLL_CTL_ADD, exchange.Socket(), &event);
  }

  void Wait() {
    epoll_event events[64];
    const int count = epoll_wait(poll_, events, 64, kPatience);
    if (count <= 0) throw std::runtime_error("the server doesn't answer");
    for (int i = 0; i < count; ++i) {
      Exchange& exchange = *static_cast<Exchange*>(events[i].data.ptr);
      const Exchange::State state = exchange.Step();
      if (state != Exchange::State::kRunning) End(exchange, state);
    }
  }

  void End(Exchange& exchange, Exchange::State state) {
    if (state == Exchange::State::kIdle) {
      epoll_ctl(poll_, EPOLL_CTL_DEL, exchange.Socket(), nullptr);
      ++idle_;
      --running_;
      return;
    }
    if (state == Exchange::State::kDone) {
      result_.milliseconds.push_back(exchange.Milliseconds());
      result_.answer = exchange.Answer();
    } else {
      ++result_.failures;
    }
    if (exchange.Resumed()) ++result_.resumed;
    exchanges_.erase(std::find_if(exchanges_.begin(), exchanges_.end(),
                                  [&](const auto& one) { return one.get() == &exchange; }));
    --running_;
    if (left_ > 0) Begin();
  }

  static constexpr int kPatience = 20'000;

  const Options& options_;
  SSL_CTX* context_;
  const std::string request_;
  const int poll_;
  std::vector<std::unique_ptr<Exchange>> exchanges_;
  std::size_t left_ = 0;
  std::size_t running_ = 0;
  std::size_t idle_ = 0;
  Result result_;
};

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double Percentile(const std::vector<double>& sorted, double part) {
  if (sorted.empty()) return 0;
  return sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

std::string JsonString(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text.substr(0, 200)) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

void Print(Result result, double seconds, double cpu) {
  std::sort(result.milliseconds.begin(), result.milliseconds.end());
  std::printf(
      "{\"requests\":%zu,\"failures\":%zu,\"resumed\":%zu,\"seconds\":%.6f,\"client_cpu\":%.6f,"
      "\"p50\":%.3f,\"p99\":%.3f,\"answer\":%s}\n",
      result.milliseconds.size(), result.failures, result.resumed, seconds, cpu,
      Percentile(result.milliseconds, 0.5), Percentile(result.milliseconds, 0.99),
      JsonString(result.answer).c_str());
}

void HoldIdle(const Options& options, SSL_CTX* context) {
  Load load(options, context);
  std::cout << load.HoldIdle(options.connections) << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
  }
}

void MakeRequests(const Options& options, SSL_CTX* context) {
  Load load(options, context);
  // One beforehand brings the session that the others resume.
  if (options.resume) load.Run(1, 1);
  const double cpu = CpuSeconds();
  const auto begin = Clock::now();
  Result result = load.Run(options.requests, options.connections);
  const std::chrono::duration<double> seconds = Clock::now() - begin;
  Print(std::move(result), seconds.count(), CpuSeconds() - cpu);
}

Options Parse(char** argv) {
  Options options{};
  options.port = std::atoi(argv[1]);
  options.tlsVersion = std::string(argv[2]) == "1.3" ? TLS1_3_VERSION : TLS1_2_VERSION;
  options.resume = std::atoi(argv[3]) != 0;
  options.connections = std::strtoul(argv[4], nullptr, 10);
  options.requests = std::strtoul(argv[5], nullptr, 10);
  options.bodySize = std::strtoul(argv[6], nullptr, 10);
  options.operation = argv[7];
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 8) {
    std::cerr << "usage: https_client PORT TLS RESUME CONNECTIONS REQUESTS BODYSIZE OPERATION\n";
    return 2;
  }
  std::signal(SIGPIPE, SIG_IGN);
  try {
    const Options options = Parse(argv);
    const Bench::ContextPointer context = MakeContext(options);
    if (options.requests == 0) {
      HoldIdle(options, context.get());
    } else {
      MakeRequests(options, context.get());
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "https_client: " << error.what() << '\n';
    return 1;
  }
}
