// What an administrator reads about a failed step of the network.
#pragma once

#include <boost/system/error_code.hpp>
#include <string>

namespace Tunrak {

/// \return The error in English and in UTF-8. The system's own texts are neither on every machine.
std::string ErrorText(const boost::system::error_code& error);

}  // namespace Tunrak
