// lab-machine: checks described machines and starts instances of them.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "machine/machine.h"
#include "machine/start.h"
#include "machine_services.h"

namespace {

constexpr char kUsage[] =
    "usage: lab-machine list\n"
    "       lab-machine validate NAME|FOLDER|FILE...\n"
    "       lab-machine start NAME|FOLDER|FILE INSTANCE\n"
    "       lab-machine services INSTANCE\n"
    "       lab-machine start-services|stop-services INSTANCE SERVICE...\n"
    "\n"
    "  list      names and summaries of the machines that come with the lab\n"
    "  validate  tells the first fault of each machine, or that it's well described\n"
    "  start     makes the instance folder INSTANCE, for HALVARD_LAB\n"
    "  services  names, states and accounts of an instance's services\n"
    "  start-services, stop-services\n"
    "            start or stop services in the given order; each is waited for before the next\n";

/// \return The machine that an argument means: a path where there is one, else a name.
std::filesystem::path FindMachine(const std::string& argument) {
  return std::filesystem::exists(argument) ? std::filesystem::path(argument)
                                           : Lab::MachineFolder(argument);
}

int List() {
  for (const std::string& name : Lab::MachineNames()) {
    const Lab::DescribedMachine machine(Lab::MachineFolder(name));
    std::printf("%-28s %s\n", name.c_str(), machine.Document()["summary"].asCString());
  }
  return 0;
}

int Validate(int count, char** arguments) {
  int result = 0;
  for (int i = 0; i < count; ++i) {
    try {
      const Lab::DescribedMachine machine(FindMachine(arguments[i]));
      std::printf("%s: well described\n", arguments[i]);
    } catch (const Lab::MachineError& error) {
      std::printf("%s\n", error.what());
      result = 1;
    }
  }
  return result;
}

int Start(const std::string& machine, const std::string& instance) {
  Lab::DescribedMachine(FindMachine(machine)).Start(instance);
  const Lab::Machine check(instance);
  std::printf("%s\n", check.Folder().c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  try {
    if (command == "list" && argc == 2) return List();
    if (command == "validate" && argc > 2) return Validate(argc - 2, argv + 2);
    if (command == "start" && argc == 4) return Start(argv[2], argv[3]);
    if (command == "services" && argc == 3) return Lab::ListServices(argv[2]);
    if (command.ends_with("-services") && argc > 3) {
      const std::vector<std::string> names(argv + 3, argv + argc);
      if (command == "start-services") return Lab::StartServices(argv[2], names);
      if (command == "stop-services") return Lab::StopServices(argv[2], names);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lab-machine: %s\n", error.what());
    return 1;
  }
  const bool help = command == "help" || command == "--help" || command == "-h";
  std::fputs(kUsage, help ? stdout : stderr);
  return help ? 0 : 2;
}
