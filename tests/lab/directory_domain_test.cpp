// The controller of the domain that a described machine has joined.
#include <gtest/gtest.h>

#include "host/windows_api.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

class DirectoryDomain : public testing::Test {
 protected:
  void Join(const char* trust, bool hasController) {
    Json::Value domain;
    domain["name"] = "corp.example";
    domain["netbiosName"] = "CORP";
    domain["trust"] = trust;
    if (hasController) {
      domain["controller"]["name"] = "dc1.corp.example";
      domain["controller"]["address"] = "192.0.2.5";
    }
    machine_.Set("/domain", domain);
  }
  DWORD Ask() {
    return DsGetDcNameW(nullptr, nullptr, nullptr, nullptr, DS_RETURN_DNS_NAME, &controller_);
  }

  Instance machine_;
  PDOMAIN_CONTROLLER_INFOW controller_ = nullptr;
};

TEST_F(DirectoryDomain, MemberIsToldNamesWithTwoBackslashes) {
  Join("whole", true);
  ASSERT_EQ(Ask(), static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_STREQ(controller_->DomainControllerName, L"\\\\dc1.corp.example");
  EXPECT_STREQ(controller_->DomainControllerAddress, L"\\\\192.0.2.5");
  EXPECT_STREQ(controller_->DomainName, L"corp.example");
  EXPECT_EQ(NetApiBufferFree(controller_), 0u);
}

TEST_F(DirectoryDomain, ControllerIsFoundByAMachineThatItDoesNotTrust) {
  Join("broken", true);
  EXPECT_EQ(Ask(), static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_EQ(NetApiBufferFree(controller_), 0u);
}

TEST_F(DirectoryDomain, ControllerOutOfReachLooksLikeNoDomain) {
  Join("noController", true);
  EXPECT_EQ(Ask(), static_cast<DWORD>(ERROR_NO_SUCH_DOMAIN));
  Join("whole", false);
  EXPECT_EQ(Ask(), static_cast<DWORD>(ERROR_NO_SUCH_DOMAIN));
  EXPECT_EQ(controller_, nullptr);
}

TEST_F(DirectoryDomain, PlannedCodeIsTheAnswer) {
  Join("whole", true);
  machine_.PlanFault({.function = "DsGetDcNameW", .call = 1, .match = {}, .error = 1722});
  EXPECT_EQ(Ask(), 1722u);
}

}  // namespace
}  // namespace Lab
