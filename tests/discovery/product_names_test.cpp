#include "discovery/product_names.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "core/property_store.h"

namespace Halvard::Discovery {
namespace {

struct NamesCase {
  std::string name;
  std::wstring type;
  std::wstring sourceVersion;
  std::wstring source;
  std::wstring sourceWithVersion;
  std::wstring target;
  std::wstring targetWithVersion;
};

void PrintTo(const NamesCase& names, std::ostream* stream) { *stream << names.name; }

const NamesCase kNames[] = {
    {"UpdateManager", L"tum", L"6.0", L"Ostrel Tarmis Update Manager",
     L"Ostrel Tarmis Update Manager 6.0",
     L"Ostrel Tarmis Update Manager service inside a Ostrel Kelvane Server Appliance",
     L"Ostrel Tarmis Update Manager service inside a Ostrel Kelvane Server Appliance 6.7"},
    {"SingleSignOn", L"infrastructure", L"5.5", L"Ostrel Single Sign-On",
     L"Ostrel Single Sign-On 5.5", L"Ostrel Belvar Controller Appliance",
     L"Ostrel Belvar Controller Appliance 6.7"},
    {"BelvarController", L"infrastructure", L"5.8", L"Ostrel Belvar Controller",
     L"Ostrel Belvar Controller 5.8", L"Ostrel Belvar Controller Appliance",
     L"Ostrel Belvar Controller Appliance 6.7"},
    {"OlderManagement", L"management", L"5.5",
     L"Ostrel Kelvane Server with an external Ostrel Single Sign-On",
     L"Ostrel Kelvane Server 5.5 with an external Ostrel Single Sign-On",
     L"Ostrel Kelvane Server Appliance with an external Ostrel Belvar Controller",
     L"Ostrel Kelvane Server Appliance 6.7 with an external Ostrel Belvar Controller"},
    {"PlatformManagement", L"management", L"5.8",
     L"Ostrel Kelvane Server with an external Ostrel Belvar Controller",
     L"Ostrel Kelvane Server 5.8 with an external Ostrel Belvar Controller",
     L"Ostrel Kelvane Server Appliance with an external Ostrel Belvar Controller",
     L"Ostrel Kelvane Server Appliance 6.7 with an external Ostrel Belvar Controller"},
    {"OlderEmbedded", L"embedded", L"5.5",
     L"Ostrel Kelvane Server with an embedded Ostrel Single Sign-On",
     L"Ostrel Kelvane Server 5.5 with an embedded Ostrel Single Sign-On",
     L"Ostrel Kelvane Server Appliance with an embedded Ostrel Belvar Controller",
     L"Ostrel Kelvane Server Appliance 6.7 with an embedded Ostrel Belvar Controller"},
    {"PlatformEmbedded", L"embedded", L"5.8",
     L"Ostrel Kelvane Server with an embedded Ostrel Belvar Controller",
     L"Ostrel Kelvane Server 5.8 with an embedded Ostrel Belvar Controller",
     L"Ostrel Kelvane Server Appliance with an embedded Ostrel Belvar Controller",
     L"Ostrel Kelvane Server Appliance 6.7 with an embedded Ostrel Belvar Controller"},
    {"UnknownType", L"other", L"5.5",
     L"Ostrel Kelvane Server with an embedded Ostrel Single Sign-On",
     L"Ostrel Kelvane Server 5.5 with an embedded Ostrel Single Sign-On",
     L"Ostrel Kelvane Server Appliance with an embedded Ostrel Belvar Controller",
     L"Ostrel Kelvane Server Appliance 6.7 with an embedded Ostrel Belvar Controller"},
};

class ProductNames : public testing::TestWithParam<NamesCase> {};

TEST_P(ProductNames, FollowTypeAndVersions) {
  const NamesCase& expected = GetParam();
  SetSourceAndTargetProducts(expected.type, expected.sourceVersion, L"6.7");
  EXPECT_EQ(gProperties[L"SOURCE_VERSION"].Value(), expected.sourceVersion);
  EXPECT_EQ(gProperties[L"SOURCE_PRODUCT"].Value(), expected.source);
  EXPECT_EQ(gProperties[L"SOURCE_PRODUCT_WITH_VERSION"].Value(), expected.sourceWithVersion);
  EXPECT_EQ(gProperties[L"TARGET_PRODUCT"].Value(), expected.target);
  EXPECT_EQ(gProperties[L"TARGET_PRODUCT_WITH_VERSION"].Value(), expected.targetWithVersion);
}

INSTANTIATE_TEST_SUITE_P(Types, ProductNames, testing::ValuesIn(kNames),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace Halvard::Discovery
