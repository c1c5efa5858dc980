// The child as a program of the host, started by the lab.
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "child_program.h"

namespace WindowsApi {

void StartDetached(const Arguments& arguments) {
  if (fork() != 0) return;
  // As a daemon would: a session of its own, and a parent that ends at once.
  setsid();
  if (fork() != 0) _exit(0);
  std::vector<char*> pointers;
  for (const std::filesystem::path& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  execv(pointers[0], pointers.data());
  _exit(1);
}

unsigned long OwnProcessId() { return static_cast<unsigned long>(getpid()); }

int ExitCodeFor(std::uint32_t code) {
  const std::filesystem::path machine = std::getenv("HALVARD_LAB");
  std::ofstream(machine / "run" / ("exit-" + std::to_string(getpid()))) << code;
  return static_cast<int>(code & 0xFF);
}

std::vector<std::string> OwnVariables() {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    variables.emplace_back(*variable);
  }
  return variables;
}

}  // namespace WindowsApi

int main(int argc, char* argv[]) {
  return WindowsApi::RunChild(WindowsApi::Arguments(argv, argv + argc));
}
