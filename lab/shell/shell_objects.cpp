#include "shell/shell_objects.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "com/com_object.h"
#include "machine/paths.h"
#include "machine/text.h"
#include "shell/zip_copies.h"
#include "windows.h"

#include "shellapi.h"
#include "shldisp.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

/// What is in a folder, as one thing to copy.
class ShellItems final : public ComObject<FolderItems> {
 public:
  explicit ShellItems(fs::path folder)
      : ComObject("FolderItems", IID_FolderItems), folder_(std::move(folder)) {}

  const fs::path& Place() const { return folder_; }

 private:
  const fs::path folder_;
};

/// A folder, or a zip file in the place of one.
class ShellFolder final : public ComObject<Folder> {
 public:
  explicit ShellFolder(fs::path place)
      : ComObject("Folder", IID_Folder),
        place_(std::move(place)),
        zipModule_(IsAZip() ? UseZipModule() : nullptr) {}

  HRESULT Items(FolderItems** items) override;
  HRESULT CopyHere(VARIANT item, VARIANT options) override;

  const fs::path& Place() const { return place_; }
  bool IsAZip() const { return !fs::is_directory(place_); }

 private:
  std::wstring Subject() const { return WindowsPath(place_); }

  const fs::path place_;
  const std::shared_ptr<ModuleUse> zipModule_;
};

class Shell final : public ComObject<IShellDispatch> {
 public:
  Shell() : ComObject("IShellDispatch", IID_IShellDispatch) {}

  HRESULT NameSpace(VARIANT path, Folder** folder) override;
};

HRESULT ShellFolder::Items(FolderItems** items) {
  LAB_SUPPORTS(items != nullptr);
  *items = nullptr;
  const Call call("Folder_Items", Subject());
  if (const auto planned = PlannedResult(call)) return *planned;
  LAB_SUPPORTS(!IsAZip());
  *items = new ShellItems(place_);
  return S_OK;
}

/// \return The files that copying the object would copy.
std::vector<ZipEntry> FilesOf(const IDispatch* item) {
  if (const auto* folder = dynamic_cast<const ShellFolder*>(item)) {
    return FilesBelow(folder->Place(), folder->Place().filename().string() + "/");
  }
  return FilesBelow(dynamic_cast<const ShellItems&>(*item).Place(), "");
}

bool IsEmptyZip(const fs::path& zip) {
  constexpr std::uintmax_t kSizeWithoutEntries = 22;
  return fs::file_size(zip) == kSizeWithoutEntries;
}

HRESULT ShellFolder::CopyHere(VARIANT item, VARIANT options) {
  const Call call("Folder_CopyHere", Subject());
  if (const auto planned = PlannedResult(call)) return *planned;
  LAB_SUPPORTS(item.vt == VT_DISPATCH && item.pdispVal != nullptr);
  LAB_SUPPORTS(options.vt == VT_I4 && options.lVal == (FOF_SILENT | FOF_NOCONFIRMATION |
                                                       FOF_NOCONFIRMMKDIR | FOF_NOERRORUI));
  // A zip is written anew, so there may be nothing in it.
  LAB_SUPPORTS(IsAZip() && IsEmptyZip(place_));
  std::vector<ZipEntry> files = FilesOf(item.pdispVal);
  // Folders alone are refused with a message box, which the options keep from showing.
  if (files.empty()) return S_OK;
  try {
    TheZipCopies().Start(place_, std::move(files));
  } catch (const std::system_error&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

bool IsAbsolute(std::wstring_view path) {
  return path.find(L":\\") == 1 && path.find(L'/') == std::wstring_view::npos;
}

HRESULT Shell::NameSpace(VARIANT path, Folder** folder) {
  LAB_SUPPORTS(folder != nullptr && (path.vt == VT_BSTR || path.vt == VT_EMPTY));
  *folder = nullptr;
  const std::wstring text = path.vt == VT_BSTR && path.bstrVal != nullptr ? path.bstrVal : L"";
  const Call call("IShellDispatch_NameSpace", text);
  if (const auto planned = PlannedResult(call)) return *planned;
  // An empty text is the desktop, which nobody asks for.
  LAB_SUPPORTS(path.vt == VT_EMPTY || !text.empty());
  if (!IsAbsolute(text)) return S_FALSE;
  const FoundPath found = FindPath(text.substr(0, text.find_last_not_of(L'\\') + 1));
  if (found.error != ERROR_SUCCESS) return S_FALSE;
  if (!fs::is_directory(found.host) && !IsZip(found.host)) return S_FALSE;
  *folder = new ShellFolder(found.host);
  return S_OK;
}

}  // namespace

IUnknown* MakeShell() { return new Shell; }

}  // namespace Lab
