// The parts of Asio and Beast that aren't templates. Their headers leave them to this file.
#include <boost/asio/impl/src.hpp>
#include <boost/asio/ssl/impl/src.hpp>
#include <boost/beast/src.hpp>
