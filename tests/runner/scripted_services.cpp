#include "scripted_services.h"

#include <mutex>

#include "core/text.h"
#include "host/services.h"
#include "runner/service_script.h"

namespace Halvard {
namespace {

std::mutex gMutex;
// Never destroyed: nobody joins the threads that note their calls.
std::vector<std::string>& gCalls = *new std::vector<std::string>;

void Note(std::string call) {
  const std::lock_guard lock(gMutex);
  gCalls.push_back(std::move(call));
}

}  // namespace

std::vector<std::string> Testing::ServiceCalls() {
  const std::lock_guard lock(gMutex);
  return gCalls;
}

void Testing::ForgetServiceCalls() {
  const std::lock_guard lock(gMutex);
  gCalls.clear();
}

std::vector<std::wstring> Host::StartServices(const std::vector<std::wstring>& names) {
  std::string list;
  for (const std::wstring& name : names) list += (list.empty() ? "" : ", ") + WideToUtf8(name);
  Note("StartServices(" + list + ")");
  return names;
}

bool Runner::ServiceControlStartStopAllServices(bool start) {
  Note(std::string("ServiceControlStartStopAllServices(") + (start ? "true" : "false") + ")");
  return true;
}

}  // namespace Halvard
