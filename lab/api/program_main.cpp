// Starts a Windows console program on the machine: it has wmain, not main.
#include <csignal>
#include <string>
#include <vector>

#include "machine/machine.h"
#include "machine/text.h"
#include "program_census.h"

extern "C" int wmain(int argc, wchar_t* argv[]);

int main(int argc, char* argv[]) {
  // Without a machine nothing can be done, so that is found out first.
  Lab::TheMachine();
  // On Windows writing to a closed pipe is an error and no more.
  std::signal(SIGPIPE, SIG_IGN);

  std::vector<std::wstring> arguments;
  for (int i = 0; i < argc; ++i) arguments.push_back(Lab::ToWide(argv[i]));
  std::vector<wchar_t*> pointers;
  for (std::wstring& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const int exitCode = wmain(argc, pointers.data());
  Lab::WriteCensus();
  return exitCode;
}
