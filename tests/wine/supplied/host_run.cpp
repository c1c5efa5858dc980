#include "host_run.h"

#include <windows.h>

#include "wines_own.h"

namespace Supplied {
namespace {

/// Wine's own. \return The exit code of a program that is waited for, negative for a status.
using UnixSpawn = LONG(CDECL*)(char* const arguments[], int waits);

}  // namespace

int RunOnHost(const std::vector<std::string>& command) {
  static const auto spawn = WinesOwn<UnixSpawn>(L"ntdll.dll", "__wine_unix_spawnvp");
  if (spawn == nullptr) return -1;
  std::vector<char*> arguments;
  // The function changes nothing.
  for (const std::string& text : command) arguments.push_back(const_cast<char*>(text.c_str()));
  arguments.push_back(nullptr);
  const LONG code = spawn(arguments.data(), 1);
  return code < 0 ? -1 : static_cast<int>(code);
}

}  // namespace Supplied
