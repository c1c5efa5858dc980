// The room that the system writes the list of adapters into.
#pragma once

#include <cstddef>
#include <memory>

#include "host/windows_api.h"

namespace Halvard::Network {

/// The records of the list point into one buffer, which is freed as a whole.
using AdapterBuffer = std::unique_ptr<std::byte[]>;

/// \return Head of the list in the buffer; null without one.
inline IP_ADAPTER_ADDRESSES* AsList(const AdapterBuffer& buffer) {
  return reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.get());
}

}  // namespace Halvard::Network
