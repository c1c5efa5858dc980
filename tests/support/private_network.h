// A network of a test's own, with interfaces and a resolver that nobody else on the host sees.
#pragma once

#include <functional>
#include <string>

namespace Lab {

/// Runs \p body on a thread that has, with the processes that it starts, a network of its own:
///
///   lo      127.0.0.1 and ::1
///   lan     02:00:00:00:00:0A, the fixed addresses 192.0.2.10/24 and 2001:db8::10/64, and the
///           gateways 192.0.2.1 and fe80::1
///   leased  02:00:00:00:00:14, with the addresses 198.51.100.20/24 and 2001:db8:1::20/128 for
///           an hour
///   and the other ends of the two, lan-end and leased-end, without an address for DNS
///
/// The resolver asks 127.0.0.1, where nobody listens until \p body starts a server at port 53,
/// tries the suffix "corp.example", and knows filed.example as 192.0.2.10 from the hosts file.
///
/// \return Why the host permits no such network, for a test to be skipped with; empty when \p body
///         was run. It takes the rights of root.
[[nodiscard]] std::string RunInPrivateNetwork(const std::function<void()>& body);

}  // namespace Lab
