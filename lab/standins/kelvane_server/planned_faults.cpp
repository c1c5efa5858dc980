#include "planned_faults.h"

#include <utility>

namespace Lab::Kelvane {

PlannedFaults::PlannedFaults(std::vector<OperationFault> operations,
                             std::vector<ConnectionFault> connections)
    : operations_(std::move(operations)), connections_(std::move(connections)) {}

const OperationFault* PlannedFaults::NextCall(const std::string& operation) {
  const std::uint32_t number = ++calls_[operation];
  for (const OperationFault& fault : operations_) {
    if (fault.operation == operation && fault.calls.Covers(number)) return &fault;
  }
  return nullptr;
}

const ConnectionFault* PlannedFaults::NextConnection() {
  const std::uint32_t number = ++connectionCount_;
  for (const ConnectionFault& fault : connections_) {
    if (fault.connections.Covers(number)) return &fault;
  }
  return nullptr;
}

}  // namespace Lab::Kelvane
