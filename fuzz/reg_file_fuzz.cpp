// What can be read must come back from what is written of it; what can't has a fault with a line.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "machine/reg_file.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Lab::RegistryTree tree;
  try {
    Lab::ReadRegFile({reinterpret_cast<const char*>(data), size}, tree);
  } catch (const Lab::RegFileError& fault) {
    Require(std::string_view(fault.what()).starts_with("line "));
    return 0;
  }
  Lab::RegistryTree again;
  Lab::ReadRegFile(Lab::WriteRegFile(tree), again);
  Require(again == tree);
  return 0;
}
