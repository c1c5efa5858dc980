#include "zip_ends.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string_view>

namespace Hvctl {
namespace {

constexpr std::string_view kEnd("PK\5\6", 4);
constexpr std::string_view kEnd64("PK\6\6", 4);
constexpr std::string_view kPlaceOfEnd64("PK\6\7", 4);
constexpr std::string_view kEntry("PK\1\2", 4);
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kEnd64Size = 56;
constexpr std::size_t kPlaceOfEnd64Size = 20;
constexpr std::uint64_t kLongestComment = 0xFFFF;
/// In a field of the end: the number is in the one of 64 bits.
constexpr std::uint64_t kElsewhere = 0xFFFFFFFF;

constexpr const char* kCut = "it stops early, or isn't a zip file";

struct Directory {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
  std::uint64_t end = 0;  ///< Where the record behind it begins.
};

std::uint64_t Number(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = size; i > 0; --i) {
    number = number << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
  }
  return number;
}

class ZipFile {
 public:
  explicit ZipFile(const std::filesystem::path& file) : stream_(file, std::ios::binary) {
    stream_.seekg(0, std::ios::end);
    const auto size = stream_.tellg();
    size_ = stream_ ? static_cast<std::uint64_t>(size) : 0;
  }

  bool IsThere() const { return stream_.is_open(); }

  std::string Problem() {
    Directory directory;
    if (!FindDirectory(directory)) return kCut;
    if (directory.size == 0) return "it is empty";
    const bool fits = directory.size <= directory.end &&
                      directory.offset <= directory.end - directory.size &&
                      Read(directory.offset, kEntry.size()) == kEntry;
    return fits ? std::string() : kCut;
  }

 private:
  /// \return As many of the bytes as there are.
  std::string Read(std::uint64_t offset, std::uint64_t count) {
    if (offset >= size_) return {};
    std::string bytes(static_cast<std::size_t>(std::min(count, size_ - offset)), '\0');
    stream_.clear();
    stream_.seekg(static_cast<std::streamoff>(offset));
    stream_.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream_.gcount()));
    return bytes;
  }

  bool FindDirectory(Directory& directory) {
    const std::uint64_t begin = size_ - std::min<std::uint64_t>(size_, kEndSize + kLongestComment);
    const std::string tail = Read(begin, size_ - begin);
    for (std::size_t at = tail.rfind(kEnd); at != std::string::npos && at + kEndSize <= tail.size();
         at = at == 0 ? std::string::npos : tail.rfind(kEnd, at - 1)) {
      const bool reachesTheEnd = at + kEndSize + Number(tail, at + 20, 2) == tail.size();
      if (!reachesTheEnd) continue;
      directory = {Number(tail, at + 16, 4), Number(tail, at + 12, 4), begin + at};
      const bool isElsewhere = directory.offset == kElsewhere || directory.size == kElsewhere;
      return !isElsewhere || FindDirectory64(directory);
    }
    return false;
  }

  bool FindDirectory64(Directory& directory) {
    if (directory.end < kPlaceOfEnd64Size) return false;
    const std::string place = Read(directory.end - kPlaceOfEnd64Size, kPlaceOfEnd64Size);
    if (!place.starts_with(kPlaceOfEnd64)) return false;
    const std::uint64_t at = Number(place, 8, 8);
    const std::string end = Read(at, kEnd64Size);
    if (end.size() < kEnd64Size || !end.starts_with(kEnd64)) return false;
    directory = {Number(end, 48, 8), Number(end, 40, 8), at};
    return true;
  }

  std::ifstream stream_;
  std::uint64_t size_ = 0;
};

}  // namespace

std::string ZipProblem(const std::filesystem::path& file) {
  ZipFile zip(file);
  return zip.IsThere() ? zip.Problem() : "it isn't there, or can't be read";
}

}  // namespace Hvctl
