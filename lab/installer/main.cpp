// lab-installer PACKAGE TARGET [ROOM]: makes an administrative image of a package. Paths are the
// host's, ROOM the bytes that the disk has left. The exit code is an InstallerOutcome.
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "installer/administrative_image.h"
#include "installer/outcome.h"
#include "installer/package.h"

namespace {

int End(Lab::InstallerOutcome outcome) { return static_cast<int>(outcome); }

int Say(const std::exception& error, Lab::InstallerOutcome outcome) {
  std::fprintf(stderr, "lab-installer: %s\n", error.what());
  return End(outcome);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) {
    std::fputs("usage: lab-installer PACKAGE TARGET [ROOM]\n", stderr);
    return End(Lab::InstallerOutcome::kRefused);
  }
  try {
    std::optional<std::uint64_t> room;
    if (argc == 4) room = std::stoull(argv[3]);
    Lab::MakeAdministrativeImage(argv[1], argv[2], room);
    return End(Lab::InstallerOutcome::kDone);
  } catch (const Lab::NoPackageError& error) {
    return Say(error, Lab::InstallerOutcome::kNoPackage);
  } catch (const Lab::UnsupportedError& error) {
    return Say(error, Lab::InstallerOutcome::kRefused);
  } catch (const std::exception& error) {
    return Say(error, Lab::InstallerOutcome::kFatal);
  }
}
