#include "machine/call_site.h"

#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <span>

namespace Lab {
namespace {

/// Deeper than any call of a program that doesn't recurse without end.
constexpr int kMostFrames = 128;

/// Where the program's own image lies.
struct Image {
  std::uintptr_t base = 0;
  std::uintptr_t end = 0;

  bool Holds(const void* address) const {
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    return number >= base && number < end;
  }
};

int TakeFirst(dl_phdr_info* object, std::size_t /*size*/, void* image) {
  std::uintptr_t end = 0;
  for (const auto& segment : std::span(object->dlpi_phdr, object->dlpi_phnum)) {
    if (segment.p_type == PT_LOAD) end = std::max(end, segment.p_vaddr + segment.p_memsz);
  }
  *static_cast<Image*>(image) = {object->dlpi_addr, object->dlpi_addr + end};
  return 1;  // The program comes first, and nothing else is wanted.
}

const Image& ProgramImage() {
  static const Image image = [] {
    Image found;
    dl_iterate_phdr(&TakeFirst, &found);
    return found;
  }();
  return image;
}

void Append(std::string& text, std::uintptr_t number) {
  char digits[2 * sizeof(number)];
  const auto written = std::to_chars(std::begin(digits), std::end(digits), number, 16);
  if (!text.empty()) text += ' ';
  text.append(digits, written.ptr);
}

}  // namespace

std::string CallSiteOf(const void* functionsReturn) {
  void* frames[kMostFrames];
  const std::span<void* const> found(frames,
                                     static_cast<std::size_t>(backtrace(frames, kMostFrames)));
  const auto function = std::ranges::find(found, functionsReturn);
  const Image& image = ProgramImage();
  std::string site;
  for (auto frame = function; frame != found.end(); ++frame) {
    if (frame != function && image.Holds(*frame)) {
      Append(site, reinterpret_cast<std::uintptr_t>(*frame) - image.base);
    }
  }
  return site;
}

}  // namespace Lab
