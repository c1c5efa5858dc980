#include "network/adapters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/error.hpp>
#include <cstdlib>
#include <new>

#include "core/logging.h"
#include "core/property_store.h"
#include "network/name_resolution.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace {
bool gRefuseArrays = false;
}

// The one array of this program that is asked for without an exception is the adapter list.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return gRefuseArrays ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size) {
  if (void* array = std::malloc(size)) return array;
  throw std::bad_alloc();
}
void operator delete[](void* array) noexcept { std::free(array); }
void operator delete[](void* array, std::size_t) noexcept { std::free(array); }

namespace Halvard::Network {
namespace {

using ::testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::OwnLog;

// In the agent Boost.Asio starts the sockets before main and keeps them started.
[[maybe_unused]] const auto& kSockets = boost::asio::error::get_misc_category();

constexpr std::uint32_t kInvalidParameter = 87;
constexpr std::uint32_t kAddressNotAssociated = 1228;

Json::Value AdapterWith(std::initializer_list<const char*> addresses) {
  Json::Value adapter;
  adapter["addresses"] = Json::Value(Json::arrayValue);
  for (const char* text : addresses) {
    Json::Value address;
    address["address"] = text;
    adapter["addresses"].append(address);
  }
  return adapter;
}

class AdaptersTest : public ::testing::Test {
 protected:
  void SetAdapters(std::initializer_list<Json::Value> adapters) {
    Json::Value list(Json::arrayValue);
    for (const Json::Value& adapter : adapters) list.append(adapter);
    machine_.Set("/adapters", list);
  }
  void RefuseCall(std::uint32_t call, std::uint32_t error) {
    machine_.PlanFault(
        {.function = "GetAdaptersAddresses", .call = call, .match = {}, .error = error});
  }
  static std::uint32_t Fetches() {
    return Lab::TheMachine().Faults().Calls("GetAdaptersAddresses");
  }

  Lab::Instance machine_;
};

TEST_F(AdaptersTest, HandlesShareOneListUntilTheLastIsGone) {
  {
    const AdapterAddressesWrapper first;
    const AdapterAddressesWrapper second;
    ASSERT_NE(first.Get(), nullptr);
    EXPECT_EQ(first.Get(), second.Get());
    EXPECT_EQ(Fetches(), 2u);  // One for the size, one for the list.
  }
  const AdapterAddressesWrapper later;
  EXPECT_NE(later.Get(), nullptr);
  EXPECT_EQ(Fetches(), 4u);
}

TEST_F(AdaptersTest, FailedSizeIsLoggedAndTriedAgainByTheNextHandle) {
  RefuseCall(1, kInvalidParameter);
  const LogScope log;
  const AdapterAddressesWrapper first;
  EXPECT_EQ(first.Get(), nullptr);
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"AdapterAddressesWrapper::AdapterAddressesWrapper: Failed to get "
                                 L"the adapter address length, Error:[87]")));
  const AdapterAddressesWrapper second;
  EXPECT_NE(second.Get(), nullptr);
  EXPECT_EQ(first.Get(), second.Get());
}

TEST_F(AdaptersTest, FailedListIsLogged) {
  RefuseCall(2, kAddressNotAssociated);
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(adapters.Get(), nullptr);
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"AdapterAddressesWrapper::AdapterAddressesWrapper: "
                                 L"GetAdaptersAddresses function returned error, Error [1228]")));
}

TEST_F(AdaptersTest, MissingMemoryIsLogged) {
  const LogScope log;
  gRefuseArrays = true;
  const AdapterAddressesWrapper adapters;
  gRefuseArrays = false;
  EXPECT_EQ(adapters.Get(), nullptr);
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"AdapterAddressesWrapper::AdapterAddressesWrapper: Failed to "
                                 L"allocate memory for GetAdaptersAddresses function")));
}

TEST_F(AdaptersTest, FirstAdapterWithTheAddressMatches) {
  SetAdapters({AdapterWith({"192.0.2.1"}), AdapterWith({"2001:db8::7", "192.0.2.2"}),
               AdapterWith({"192.0.2.2"})});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.2"), adapters.Get()->Next);
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"2001:db8::7"), adapters.Get()->Next);
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(
                  L"GetAdapterWithMatchingIPAddress: Detected the adapter that matches the FQDN")));
}

TEST_F(AdaptersTest, ScopeIsPartOfTheText) {
  SetAdapters({AdapterWith({"fe80::1%1"})});
  const AdapterAddressesWrapper adapters;
  EXPECT_NE(GetAdapterWithMatchingIPAddress(adapters.Get(), L"fe80::1%1"), nullptr);
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"fe80::1"), nullptr);
}

TEST_F(AdaptersTest, AbsentAddressMatchesNothing) {
  SetAdapters({AdapterWith({"192.0.2.1"})});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.9"), nullptr);
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"GetAdapterWithMatchingIPAddress: No adapter found for "
                                          L"the IP [192.0.2.9]")));
}

TEST_F(AdaptersTest, AbsentListMatchesNothing) {
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(nullptr, L"192.0.2.1"), nullptr);
}

TEST_F(AdaptersTest, AddressThatIsNotForDnsIsPassedOver) {
  Json::Value adapter = AdapterWith({"192.0.2.1", "192.0.2.2"});
  adapter["addresses"][0]["dnsEligible"] = false;
  SetAdapters({adapter});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.1"), nullptr);
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.2"), adapters.Get());
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"GetAdapterWithMatchingIPAddress: Socket address is "
                                          L"null or the IP is not eligible DNS entry.")));
}

TEST_F(AdaptersTest, AddressWithoutATextEndsTheSearchInThatAdapterOnly) {
  SetAdapters({AdapterWith({"192.0.2.1", "192.0.2.2"}), AdapterWith({"192.0.2.2"})});
  machine_.PlanFault({.function = "GetNameInfoW", .call = 1, .match = {}, .error = 11001});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.2"), adapters.Get()->Next);
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(L"GetAdapterWithMatchingIPAddress: Failed to retrieve IP Address.")));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetNameInfoWrapper: Failed to retrieve name info, "
                                           L"Error Code: [11001]")));
}

TEST_F(AdaptersTest, Ipv6IsOnWhenTheMigratingAdapterHasIt) {
  SetAdapters({AdapterWith({"192.0.2.1"})});
  gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.1";
  bool enabled = false;
  EXPECT_TRUE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_TRUE(enabled);
}

TEST_F(AdaptersTest, Ipv6IsOffWhenTheMigratingAdapterLacksIt) {
  Json::Value adapter = AdapterWith({"192.0.2.1"});
  adapter["ipv6"] = false;
  SetAdapters({adapter});
  gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.1";
  bool enabled = true;
  EXPECT_TRUE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_FALSE(enabled);
}

TEST_F(AdaptersTest, Ipv6IsUnknownWithoutTheMigratingAdapter) {
  gProperties[L"APP_NET_PNID_IP"] = L"";
  const LogScope log;
  bool enabled = true;
  EXPECT_FALSE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_FALSE(enabled);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(
                            L"IsIPv6EnabledOnAppNetPnidAdapter: Failed to retrieve the adapter "
                            L"that matches theAppNetPnid IP address.")));
}

TEST_F(AdaptersTest, Ipv6IsUnknownWithoutAList) {
  RefuseCall(1, kInvalidParameter);
  bool enabled = true;
  EXPECT_FALSE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_FALSE(enabled);
}

TEST(GetNameInfoWrapper, AbsentAddressIsEmptyWithoutALine) {
  const Lab::Instance machine;
  const LogScope log;
  EXPECT_EQ(GetNameInfoWrapper({nullptr, 0}), L"");
  EXPECT_THAT(OwnLog(), IsEmpty());
}

}  // namespace
}  // namespace Halvard::Network
