// The native side of the conformance tests: every test gets a fresh machine of the lab.
#include <signal.h>

#include <memory>

#include "machine/text.h"
#include "started_process.h"
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

WindowsApi::RegisteredService::RegisteredService(Kind kind) {
  Json::Value service;
  service["displayName"] = Lab::ToUtf8(displayName);
  service["program"] = Lab::ToUtf8(program);
  service["account"] = ".\\conformance";
  service["state"] = "stopped";
  service["startType"] = kind == kDisabled ? "disabled" : "manual";
  service["start"]["error"] = ERROR_FILE_NOT_FOUND;
  gInstance->Set("/services/" + Lab::ToUtf8(name), service);
}

WindowsApi::RegisteredService::~RegisteredService() {
  gInstance->Remove("/services/" + Lab::ToUtf8(name));
}

bool WindowsApi::KnowConformanceNames() {
  Json::Value names;
  const auto add = [&](const char* name, const char* type, const std::string& value) {
    Json::Value record;
    record["type"] = type;
    record["value"] = value;
    names[name].append(record);
  };
  add("kv.example", "A", "192.0.2.1");
  add("kv.example", "AAAA", "2001:db8::1");
  add("alias.example", "CNAME", "kv.example");
  add("six.example", "AAAA", "2001:db8::6");
  for (int i = 1; i <= 100; ++i) add("many.example", "A", "192.0.2." + std::to_string(i));
  gInstance->Set("/dns/names", names);
  // Opening the machine anew ended its sockets.
  WSADATA data;
  return WSAStartup(0x0202, &data) == 0;
}

const char WindowsApi::kEchoTwoArguments[] = "#!/bin/sh\necho \"$1\" \"$2\"\n";
const char WindowsApi::kExitWithSeven[] = "#!/bin/sh\nexit 7\n";

std::wstring WindowsApi::ChildProgram() {
  const std::wstring path = L"C:\\Program Files\\Conformance child\\conformance_child.exe";
  gInstance->WriteFile(path, "");
  gInstance->Set("/programs/conformance_child.exe", CONFORMANCE_CHILD);
  return path;
}

bool WindowsApi::ProcessRuns(unsigned long processId) {
  return kill(static_cast<pid_t>(processId), 0) == 0;
}

bool WindowsApi::RunsAfterAMoment(unsigned long processId) { return ProcessRuns(processId); }

void WindowsApi::EndProcess(unsigned long processId) {
  kill(static_cast<pid_t>(processId), SIGKILL);
}
