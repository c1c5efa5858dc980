#include "service/api_availability.h"

#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using Testing::ErrorLine;

class Availability : public ServiceTest {
 protected:
  Json::Value reply_;
};

TEST_F(Availability, AnOperationGoesByTheNameBehindTheLastColon) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  EXPECT_FALSE(IsHalvardApiAvailable(L"ShutdownMachine", reply_));
  EXPECT_FALSE(IsHalvardApiAvailable(L"A::B:ShutdownMachine", reply_));
  EXPECT_TRUE(IsHalvardApiAvailable(L"ShutdownHv", reply_));
  EXPECT_TRUE(IsHalvardApiAvailable(L"", reply_));
  EXPECT_TRUE(IsHalvardApiAvailable(L"A::Unknown", reply_));
  EXPECT_TRUE(IsHalvardApiAvailable(L"ShutdownMachine:", reply_));
  gProperties[L"MIGRATION_TYPE"] = L"embedded";
  EXPECT_TRUE(IsHalvardApiAvailable(L"A::Unknown", reply_));
  EXPECT_FALSE(IsHalvardApiAvailable(L"ShutdownHv", reply_));
}

TEST_F(Availability, ALackingOneIsToldShortToTheClientAndInFullInTheLog) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  EXPECT_FALSE(IsHalvardApiAvailable(FullName(L"ShutdownMachine"), reply_));
  EXPECT_EQ(reply_["result"], "fail");
  EXPECT_EQ(reply_["error"],
            "Halvard 'ShutdownMachine' API is not available for this migration type.");
  EXPECT_THAT(
      Testing::OwnLog(),
      Contains(ErrorLine(
          L"IsHalvardApiAvailable: HV API not available. Function: Halvard::MigratorSvc::AsyncServiceImpl::ShutdownMachine, Migration type: tum.")));
}

TEST_F(Availability, EachTypeButUpdateManagerIsTheSame) {
  for (const wchar_t* type : {L"embedded", L"management", L"infrastructure", L"", L"TUM"}) {
    gProperties[L"MIGRATION_TYPE"] = type;
    EXPECT_TRUE(IsHalvardApiAvailable(L"ShutdownMachine", reply_));
    EXPECT_FALSE(IsHalvardApiAvailable(L"ShutdownHv", reply_));
  }
}

TEST_F(Availability, EachOperationHasItsRow) {
  EXPECT_EQ(ApiAvailabilityTable.size(), std::size(kOperations));
  for (const KnownOperation& operation : kOperations) {
    EXPECT_TRUE(ApiAvailabilityTable.contains(operation.name));
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
