// What a program of tests needs for Winsock to work as it does in the agent.
#pragma once

#include <boost/asio/error.hpp>

namespace Halvard::Testing {

// In the agent Boost.Asio starts the sockets before main and keeps them started.
[[maybe_unused]] inline const auto& kSockets = boost::asio::error::get_misc_category();

}  // namespace Halvard::Testing
