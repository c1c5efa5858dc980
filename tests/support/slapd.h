// Directory servers for tests.
#pragma once

#include <string>

#include "standins/slapd/slapd.h"
#include "support/lab_instance.h"

namespace Lab {

/// Lets a machine find the server at a host name or address and one of the fixed ports.
void PlaceDirectory(Instance& machine, const Slapd& server, const std::string& host, int port);

/// Lets a machine find nothing there, whatever the host itself serves.
void PlaceNothing(Instance& machine, const std::string& host, int port);

}  // namespace Lab

/// Leaves the test, by name and with the reason in the output.
#define SKIP_WITHOUT_SLAPD()                                                                \
  do {                                                                                      \
    if (!Lab::Slapd::Installed()) GTEST_SKIP() << "Debian's package slapd isn't installed"; \
  } while (false)
