#include "shell/zip_writer.h"

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string_view>

#include "files/open_file.h"
#include "machine/text.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

struct FreeArchive {
  void operator()(archive* zip) const { archive_write_free(zip); }
};
struct FreeEntry {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using UniqueArchive = std::unique_ptr<archive, FreeArchive>;
using UniqueEntry = std::unique_ptr<archive_entry, FreeEntry>;

/// libarchive takes names in the thread's locale. Those of the machine are UTF-8, whatever the host
/// speaks.
class Utf8Names {
 public:
  Utf8Names()
      : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)), former_(uselocale(locale_)) {}
  Utf8Names(const Utf8Names&) = delete;
  Utf8Names& operator=(const Utf8Names&) = delete;
  ~Utf8Names() {
    uselocale(former_);
    freelocale(locale_);
  }

 private:
  const locale_t locale_;
  const locale_t former_;
};

/// As a zip of the system is used by one program at a time: others may read it, none may write.
std::shared_ptr<OpenFile> OpenZip(const fs::path& zip) {
  OpenFile::Request request;
  request.access = FILE_SHARE_WRITE;
  request.share = FILE_SHARE_READ;
  request.truncates = true;
  return OpenFile::Open(zip, request).file;
}

std::shared_ptr<OpenFile> OpenSource(const fs::path& source) {
  OpenFile::Request request;
  request.access = FILE_SHARE_READ;
  request.share = FILE_SHARE_READ;
  return OpenFile::Open(source, request).file;
}

UniqueEntry MakeEntry(const std::string& name, int descriptor) {
  struct stat status = {};
  fstat(descriptor, &status);
  UniqueEntry entry(archive_entry_new());
  archive_entry_set_pathname(entry.get(), name.c_str());
  archive_entry_set_filetype(entry.get(), AE_IFREG);
  archive_entry_set_perm(entry.get(), status.st_mode & 07777);
  archive_entry_set_size(entry.get(), status.st_size);
  archive_entry_set_mtime(entry.get(), status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
  return entry;
}

bool WriteContent(archive* zip, int descriptor) {
  std::vector<char> block(1 << 16);
  for (;;) {
    const ssize_t count = read(descriptor, block.data(), block.size());
    if (count <= 0) return count == 0;
    if (archive_write_data(zip, block.data(), static_cast<std::size_t>(count)) < 0) return false;
  }
}

bool WriteEntry(archive* zip, const ZipEntry& file) {
  const std::shared_ptr<OpenFile> source = OpenSource(file.host);
  if (source == nullptr) return true;
  const UniqueEntry entry = MakeEntry(file.name, source->Descriptor());
  if (archive_write_header(zip, entry.get()) != ARCHIVE_OK) return false;
  return WriteContent(zip, source->Descriptor()) && archive_write_finish_entry(zip) == ARCHIVE_OK;
}

}  // namespace

std::vector<ZipEntry> FilesBelow(const fs::path& folder, const std::string& prefix) {
  std::vector<ZipEntry> entries;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const std::string name = entry.path().lexically_relative(folder).generic_string();
    entries.push_back({entry.path(), prefix + name});
  }
  std::ranges::sort(entries, {}, &ZipEntry::name);
  return entries;
}

bool IsZip(const fs::path& host) {
  if (!EqualNoCase(ToWide(host.extension().string()), L".zip") || !fs::is_regular_file(host)) {
    return false;
  }
  char begin[4] = {};
  std::ifstream(host, std::ios::binary).read(begin, sizeof begin);
  const std::string_view mark(begin, sizeof begin);
  return mark == "PK\3\4" || mark == "PK\5\6";
}

bool WriteZip(const fs::path& zip, const std::vector<ZipEntry>& entries) {
  const std::shared_ptr<OpenFile> file = OpenZip(zip);
  if (file == nullptr) return false;
  const Utf8Names names;
  const UniqueArchive writer(archive_write_new());
  archive_write_set_format_zip(writer.get());
  // What a rehearsal waits for is mostly this.
  archive_write_set_format_option(writer.get(), "zip", "compression-level", "1");
  // Small files go the way of those over 4 GiB, so that it is one that every test has gone.
  archive_write_set_format_option(writer.get(), "zip", "zip64", "1");
  // The end isn't to be filled up to whole blocks of a tape.
  archive_write_set_bytes_in_last_block(writer.get(), 1);
  if (archive_write_open_fd(writer.get(), file->Descriptor()) != ARCHIVE_OK) return false;
  for (const ZipEntry& entry : entries) {
    if (!WriteEntry(writer.get(), entry)) return false;
  }
  return archive_write_close(writer.get()) == ARCHIVE_OK;
}

}  // namespace Lab
