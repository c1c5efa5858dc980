// The native side of the conformance tests: every test gets a fresh machine of the lab.
#include <memory>

#include "machine/text.h"
#include "support.h"
#include "support/lab_instance.h"

namespace {

std::unique_ptr<Lab::Instance> gInstance;

class FreshMachine : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override {
    gInstance = std::make_unique<Lab::Instance>();
    SetLastError(0);
  }
  void OnTestEnd(const testing::TestInfo&) override { gInstance.reset(); }
};

/// The listeners' owner is GoogleTest, from before the first test on.
const bool gListening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new FreshMachine);
  return true;
}();

}  // namespace

bool WindowsApi::OnWine() { return false; }

void WindowsApi::InstallProduct(const std::wstring& productCode, const std::wstring& upgradeCode,
                                const std::wstring& version) {
  Json::Value product;
  product["upgradeCode"] = Lab::ToUtf8(upgradeCode);
  product["properties"]["VersionString"] = Lab::ToUtf8(version);
  gInstance->Set("/products/" + Lab::ToUtf8(productCode), product);
}
