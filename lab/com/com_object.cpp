#include "com/com_object.h"

namespace Lab {
namespace {

std::atomic<int> gObjects{0};

}  // namespace

std::optional<HRESULT> PlannedResult(const Call& call) {
  const std::optional<DWORD>& error = call.PlannedError();
  if (!error) return std::nullopt;
  return static_cast<HRESULT>(*error);
}

void CountComObject(int change) { gObjects += change; }

std::size_t LiveComObjects() { return static_cast<std::size_t>(gObjects.load()); }

}  // namespace Lab
