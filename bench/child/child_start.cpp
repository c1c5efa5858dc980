// How long the agent's way of starting a child takes to the child's first instruction, beside
// posix_spawn(3) with the same program: child_start FIRST_INSTRUCTION. Then what watching a status
// file costs while nobody changes it.
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "runner/process_monitor.h"
#include "support/file_bytes.h"
#include "support/lab_instance.h"
#include "table.h"

namespace {

using Halvard::Runner::LaunchProcAndMonitorStatus;

constexpr int kStarts = 101;
constexpr int kWatchSeconds = 3;
constexpr wchar_t kChild[] = L"C:\\Tools\\child.exe";
constexpr wchar_t kStatusFile[] = L"C:\\Status\\status.json";

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + kStarts / 2, values.end());
  return values[kStarts / 2];
}

/// Runs the child once. \return Microseconds from the call to the child's first instruction.
template <typename Start>
double Measure(const std::filesystem::path& moment, const Start& start) {
  std::filesystem::remove(moment);
  const std::int64_t begin = Now();
  if (!start()) throw std::runtime_error("the child couldn't be run");
  return static_cast<double>(std::stoll(Lab::FileBytes(moment)) - begin) / 1e3;
}

bool Spawn(std::string program, std::string argument) {
  char* arguments[] = {program.data(), argument.data(), nullptr};
  pid_t process = 0;
  if (posix_spawn(&process, program.c_str(), nullptr, nullptr, arguments, environ) != 0) {
    return false;
  }
  int status = 0;
  return waitpid(process, &status, 0) == process && status == 0;
}

std::wstring CommandLine(const std::filesystem::path& moment, const std::wstring& more = {}) {
  return std::wstring(L"\"") + kChild + L"\" " + moment.wstring() + more;
}

void CompareStarts(const std::filesystem::path& program, const std::filesystem::path& moment) {
  const std::wstring line = CommandLine(moment);
  std::vector<double> ours;
  std::vector<double> theirs;
  std::vector<double> ratios;
  for (int i = 0; i < kStarts; ++i) {
    ours.push_back(Measure(moment, [&] { return LaunchProcAndMonitorStatus(line.c_str()); }));
    theirs.push_back(Measure(moment, [&] { return Spawn(program.string(), moment.string()); }));
    ratios.push_back(ours.back() / theirs.back());
  }
  const std::string value = Bench::Text("%.0f us", Median(ours));
  const std::string others =
      Bench::Text("posix_spawn %.0f us (%.2f)", Median(theirs), Median(ratios));
  std::printf("  from the call to a child's first instruction: %s, %s\n", value.c_str(),
              others.c_str());
  Bench::AddRow("child", "from the call to a child's first instruction", value, others);
}

double CpuMilliseconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto in = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
  };
  return in(usage.ru_utime) + in(usage.ru_stime);
}

int CountAsSuccess(void* /*context*/, const wchar_t* /*path*/) {
  return Halvard::Runner::ParseFinalSuccess;
}

/// What a watched child that stays \p seconds takes of this process.
double WatchedRun(const std::filesystem::path& moment, int seconds) {
  const std::wstring line = CommandLine(moment, L" " + std::to_wstring(seconds));
  const double before = CpuMilliseconds();
  LaunchProcAndMonitorStatus(line.c_str(), kStatusFile, CountAsSuccess, nullptr);
  return CpuMilliseconds() - before;
}

void MeasureWatch(const std::filesystem::path& moment) {
  const double atOnce = WatchedRun(moment, 0);
  const double later = WatchedRun(moment, kWatchSeconds);
  const std::string value = Bench::Text("%.2f ms", later);
  const std::string others = Bench::Text("a child that ends at once %.2f ms", atOnce);
  std::printf("  processor time of watching a child for %d s: %s, %s\n", kWatchSeconds,
              value.c_str(), others.c_str());
  Bench::AddRow("child", Bench::Text("processor time of watching a child for %d s", kWatchSeconds),
                value, others);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: child_start FIRST_INSTRUCTION\n");
    return 2;
  }
  Lab::Instance machine;
  machine.WriteFile(kChild, Lab::FileBytes(argv[1]));
  machine.MakeFolder(L"C:\\Status");
  const std::filesystem::path moment =
      std::filesystem::temp_directory_path() / ("child_start." + std::to_string(getpid()));
  CompareStarts(argv[1], moment);
  MeasureWatch(moment);
  std::filesystem::remove(moment);
  return 0;
}
