#include "core/startup/winsock_setup.h"

#include "core/logging.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

/// Version 2.2: the major version in the lower byte.
constexpr WORD kWinsockVersion = 0x0202;

}  // namespace

WSASetup::WSASetup() {
  LogScope log;
  WSADATA data = {};
  const int error = WSAStartup(kWinsockVersion, &data);
  started_ = error == 0;
  if (!started_) {
    log.Error(L"WSASetup::WSASetup: Failed to initialize Winsock, Error Code: [%ld]", LONG{error});
  }
}

WSASetup::~WSASetup() {
  if (started_) (void)WSACleanup();
}

}  // namespace Halvard
