// Reads the request around the input value.
#pragma once

#include <memory>
#include <string>

#include "krova/core/execution.h"
#include "krova/data/value.h"
#include "krova/protocol/json/frame_stack.h"

namespace Krova::Protocol::Json {

/// What a request says. What it leaves out stays empty or null.
struct RequestRecord {
  std::string jsonrpc;
  std::string id;
  std::string method;
  std::string serviceId;
  std::string operationId;
  Data::ValuePointer input;
  std::shared_ptr<Core::ExecutionContext> context;
};

/// The bottom frame of a request.
/// \param record  Filled while the tokens come; after a fault with what came before it, but never
///     with a part of a value. Must outlive the frame.
Frame RequestRootFrame(RequestRecord& record);

}  // namespace Krova::Protocol::Json
