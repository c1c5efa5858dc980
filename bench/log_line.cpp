// A line of the agent's log, flushed, beside the same line of spdlog and Boost.Log, also flushed,
// and beside the bare write of its bytes; then a debug line that is off. All files lie in the
// memory file system. The line is formatted with a number and a text.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/trivial.hpp>
#include <boost/log/utility/setup/common_attributes.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "core/logging.h"
#include "ratio_reporter.h"
#include "support/lab_instance.h"

namespace {

constexpr int kProcess = 4711;
constexpr char kFile[] = "C:\\Export\\export-status.json";
constexpr wchar_t kWideFile[] = L"C:\\Export\\export-status.json";

void Register(const char* name, const std::function<void()>& work) {
  benchmark::RegisterBenchmark(name, [work](benchmark::State& state) {
    for (auto _ : state) work();
  });
}

std::string LastLineOf(const Lab::Instance& machine) {
  const std::string text = machine.ReadFile(L"%TEMP%\\halvard.log").value();
  return text.substr(text.rfind('\n', text.size() - 2) + 1);
}

void RegisterHalvard(Halvard::LogScope& log) {
  Register("line/halvard", [&log] {
    log.Info(L"LaunchRunner: Process %d has written to %s.", kProcess, kWideFile);
  });
  Register("debug line that is off/halvard", [&log] {
    log.Debug(L"LaunchRunner: Process %d has written to %s.", kProcess, kWideFile);
  });
}

void RegisterWrite(const std::string& line, const std::string& file) {
  const int descriptor = open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (descriptor < 0) throw std::runtime_error("no file to write to");
  Register("line/write", [line, descriptor] {
    benchmark::DoNotOptimize(write(descriptor, line.data(), line.size()));
  });
}

void RegisterSpdlog(const std::string& file) {
  const std::shared_ptr<spdlog::logger> log = spdlog::basic_logger_mt("halvard", file);
  log->set_pattern("%Y-%m-%d %H:%M:%S.%eZ| %n-14510545| %L: %v", spdlog::pattern_time_type::utc);
  log->flush_on(spdlog::level::info);
  Register("line/spdlog",
           [log] { log->info("LaunchRunner: Process {} has written to {}.", kProcess, kFile); });
  Register("debug line that is off/spdlog",
           [log] { log->debug("LaunchRunner: Process {} has written to {}.", kProcess, kFile); });
}

void RegisterBoost(const std::string& file) {
  namespace log = boost::log;
  const auto backend = boost::make_shared<log::sinks::text_ostream_backend>();
  backend->add_stream(boost::make_shared<std::ofstream>(file));
  backend->auto_flush(true);
  const auto sink =
      boost::make_shared<log::sinks::synchronous_sink<log::sinks::text_ostream_backend>>(backend);
  sink->set_formatter(log::expressions::stream
                      << log::expressions::format_date_time<boost::posix_time::ptime>(
                             "TimeStamp", "%Y-%m-%d %H:%M:%S.%f")
                      << "Z| halvard-14510545| " << log::trivial::severity << ": "
                      << log::expressions::smessage);
  log::core::get()->add_sink(sink);
  log::core::get()->set_filter(log::trivial::severity >= log::trivial::info);
  log::add_common_attributes();
  Register("line/boost", [] {
    BOOST_LOG_TRIVIAL(info) << "LaunchRunner: Process " << kProcess << " has written to " << kFile
                            << '.';
  });
  Register("debug line that is off/boost", [] {
    BOOST_LOG_TRIVIAL(debug) << "LaunchRunner: Process " << kProcess << " has written to " << kFile
                             << '.';
  });
}

}  // namespace

int main(int argc, char** argv) {
  setenv("TMPDIR", "/dev/shm", 1);
  Lab::Instance machine;
  const std::string folder = machine.HostPath(L"%TEMP%").string();
  Halvard::LogScope log;
  log.Info(L"LaunchRunner: Process %d has written to %s.", kProcess, kWideFile);

  RegisterHalvard(log);
  RegisterWrite(LastLineOf(machine), folder + "/write.log");
  RegisterSpdlog(folder + "/spdlog.log");
  RegisterBoost(folder + "/boost.log");
  benchmark::Initialize(&argc, argv);
  Bench::RatioReporter reporter("log", "halvard");
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
