// A machine outside any domain. What a member is told stands in the tests of the lab: it takes a
// domain with a controller.
#include "support.h"
#include "what_wine_lacks.h"

namespace {

TEST(DsGetDcNameW, MachineOutsideADomainHasNone) {
  SKIP_ON_BARE_WINE("DsGetDcNameW of Wine answers 9003");
  PDOMAIN_CONTROLLER_INFOW controller = nullptr;
  EXPECT_EQ(DsGetDcNameW(nullptr, nullptr, nullptr, nullptr, DS_RETURN_DNS_NAME, &controller),
            static_cast<DWORD>(ERROR_NO_SUCH_DOMAIN));
  EXPECT_EQ(controller, nullptr);
}

TEST(NetApiBufferFree, TakesNothingAsWell) { EXPECT_EQ(NetApiBufferFree(nullptr), 0u); }

TEST(Socket, NeedsWinsockStarted) {
  SKIP_ON_WINE("a program of Wine that imports wldap32 is found started");
  EXPECT_EQ(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP), INVALID_SOCKET);
  EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
}

}  // namespace
