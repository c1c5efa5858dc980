#include "api/thread_language.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "winnls.h"

namespace {

// Which machine the choice was made on: a thread starts with the user's language on each.
thread_local const Lab::Machine* gChosenOn = nullptr;
thread_local LANGID gChosen = 0;

}  // namespace

std::uint16_t Lab::ThreadLanguage() {
  const Lab::Machine& machine = Lab::TheMachine();
  return gChosenOn == &machine ? gChosen : machine.Describe().uiLanguage;
}

LANGID WINAPI GetUserDefaultUILanguage() {
  const Lab::Call call("GetUserDefaultUILanguage");
  LAB_SUPPORTS(!call.PlannedError());
  return Lab::TheMachine().Describe().uiLanguage;
}

LANGID WINAPI SetThreadUILanguage(LANGID language) {
  const Lab::Call call("SetThreadUILanguage");
  if (call.FailsByPlan()) return 0;
  LAB_SUPPORTS(language != 0);
  gChosenOn = &Lab::TheMachine();
  gChosen = language;
  return language;
}
