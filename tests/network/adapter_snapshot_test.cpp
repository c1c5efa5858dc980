#include "network/adapter_snapshot.h"

#include "adapters_test.h"
#include "host/failing_allocation.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using ::testing::Contains;
using Testing::ErrorLine;
using Testing::FailingAllocation;
using Testing::OwnLog;

constexpr std::uint32_t kAddressNotAssociated = 1228;

class AdapterSnapshotTest : public AdaptersTest {
 protected:
  static std::uint32_t Fetches() {
    return Lab::TheMachine().Faults().Calls("GetAdaptersAddresses");
  }
};

TEST_F(AdapterSnapshotTest, HandlesShareOneListUntilTheLastIsGone) {
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

TEST_F(AdapterSnapshotTest, FailedSizeIsLoggedAndTriedAgainByTheNextHandle) {
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

TEST_F(AdapterSnapshotTest, FailedListIsLogged) {
  RefuseCall(2, kAddressNotAssociated);
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(adapters.Get(), nullptr);
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"AdapterAddressesWrapper::AdapterAddressesWrapper: "
                                 L"GetAdaptersAddresses function returned error, Error [1228]")));
}

TEST_F(AdapterSnapshotTest, ListThatGrowsBeforeItIsFetchedIsAFailure) {
  Json::Value later = AdapterWith({"192.0.2.2"});
  later["firstCall"] = 2;
  SetAdapters({AdapterWith({"192.0.2.1"}), later});
  const LogScope log;
  const AdapterAddressesWrapper first;
  EXPECT_EQ(first.Get(), nullptr);
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"AdapterAddressesWrapper::AdapterAddressesWrapper: "
                                 L"GetAdaptersAddresses function returned error, Error [111]")));
  const AdapterAddressesWrapper second;
  ASSERT_NE(second.Get(), nullptr);
  EXPECT_NE(second.Get()->Next, nullptr);
}

TEST_F(AdapterSnapshotTest, ListThatShrinksBeforeItIsFetchedIsTaken) {
  Json::Value gone = AdapterWith({"192.0.2.2"});
  gone["lastCall"] = 1;
  SetAdapters({AdapterWith({"192.0.2.1"}), gone});
  const AdapterAddressesWrapper adapters;
  ASSERT_NE(adapters.Get(), nullptr);
  EXPECT_EQ(adapters.Get()->Next, nullptr);
}

TEST_F(AdapterSnapshotTest, MissingMemoryIsLogged) {
  const LogScope log;
  const FailingAllocation failing;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(adapters.Get(), nullptr);
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"AdapterAddressesWrapper::AdapterAddressesWrapper: Failed to "
                                 L"allocate memory for GetAdaptersAddresses function")));
}

}  // namespace
}  // namespace Halvard::Network
