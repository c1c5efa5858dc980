// Takes the place of the import of CoCreateInstance in a program that is tested under Wine.
//
// Wine's shell opens no zip files as folders. Its own objects are handed out, but for one method of
// the shell: NameSpace opens zip files too, and what is copied into one of them is packed by the
// host's Python, on a thread of this process. All else is Wine's.
#include <windows.h>

#include <shldisp.h>
#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "host/com.h"
#include "host/unique_resource.h"
#include "host_paths.h"
#include "host_run.h"
#include "wines_own.h"

namespace {

using Halvard::Host::ComPtr;
using Halvard::Host::UniqueFile;
using Halvard::Host::UniqueText;

/// Writes the zip anew: PLACE, then files and folders, each under its own name.
constexpr char kPack[] = R"py(
import os, sys, zipfile
def files_of(item):
    for folder, _, names in os.walk(item):
        for name in names:
            yield os.path.join(folder, name)
with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED, compresslevel=1) as archive:
    for item in sys.argv[2:]:
        for path in files_of(item) if os.path.isdir(item) else [item]:
            archive.write(path, os.path.relpath(path, os.path.dirname(item)))
)py";

using Paths = std::vector<std::wstring>;

void AddPath(FolderItem* item, Paths& paths) {
  BSTR path = nullptr;
  if (SUCCEEDED(item->get_Path(&path)) && path != nullptr) {
    paths.emplace_back(UniqueText(path).Get());
  }
}

/// What copying a folder, or what is in one, would copy.
Paths PathsOf(IDispatch* object) {
  Paths paths;
  ComPtr<Folder3> folder;
  ComPtr<FolderItem> item;
  if (SUCCEEDED(object->QueryInterface(IID_Folder3, folder.PutAny()))) {
    if (SUCCEEDED(folder->get_Self(item.Put()))) AddPath(item.Get(), paths);
    return paths;
  }
  ComPtr<FolderItems> items;
  LONG count = 0;
  if (FAILED(object->QueryInterface(IID_FolderItems, items.PutAny())) ||
      FAILED(items->get_Count(&count))) {
    return paths;
  }
  for (LONG i = 0; i < count; ++i) {
    Halvard::Host::Variant index;
    index.SetNumber(i);
    if (SUCCEEDED(items->Item(index.Get(), item.Put())) && item) AddPath(item.Get(), paths);
  }
  return paths;
}

void Pack(const std::wstring& zip, const Paths& paths) {
  // As the shell does: others may read it meanwhile, none may write.
  const UniqueFile held(CreateFileW(zip.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  std::vector<std::string> command = {"/usr/bin/python3", "-c", kPack, Lab::Wine::HostPath(zip)};
  std::ranges::transform(paths, std::back_inserter(command), Lab::Wine::HostPath);
  if (held) (void)Supplied::RunOnHost(command);
}

/// A zip file in the place of a folder, of which the agent uses CopyHere alone.
class ZipFolder final : public Folder {
 public:
  explicit ZipFolder(std::wstring path) : path_(std::move(path)) {}
  virtual ~ZipFolder() = default;

  HRESULT WINAPI QueryInterface(REFIID id, void** object) override {
    const bool isKnown = id == IID_IUnknown || id == IID_IDispatch || id == IID_Folder;
    *object = isKnown ? this : nullptr;
    if (!isKnown) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG WINAPI AddRef() override { return ++references_; }
  ULONG WINAPI Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  HRESULT WINAPI CopyHere(VARIANT item, VARIANT /*options*/) override {
    if (V_VT(&item) != VT_DISPATCH) return E_INVALIDARG;
    const Paths paths = PathsOf(V_DISPATCH(&item));
    // The shell refuses what has no files, with a box that the options keep from showing.
    if (!paths.empty()) std::thread(Pack, path_, paths).detach();
    return S_OK;
  }

  HRESULT WINAPI GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT WINAPI GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT WINAPI GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT WINAPI Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                        UINT*) override {
    return E_NOTIMPL;
  }
  HRESULT WINAPI get_Title(BSTR*) override { return E_NOTIMPL; }
  HRESULT WINAPI get_Application(IDispatch**) override { return E_NOTIMPL; }
  HRESULT WINAPI get_Parent(IDispatch**) override { return E_NOTIMPL; }
  HRESULT WINAPI get_ParentFolder(Folder**) override { return E_NOTIMPL; }
  HRESULT WINAPI Items(FolderItems**) override { return E_NOTIMPL; }
  HRESULT WINAPI ParseName(BSTR, FolderItem**) override { return E_NOTIMPL; }
  HRESULT WINAPI NewFolder(BSTR, VARIANT) override { return E_NOTIMPL; }
  HRESULT WINAPI MoveHere(VARIANT, VARIANT) override { return E_NOTIMPL; }
  HRESULT WINAPI GetDetailsOf(VARIANT, int, BSTR*) override { return E_NOTIMPL; }

 private:
  const std::wstring path_;
  std::atomic<ULONG> references_ = 1;
};

bool IsZip(const std::wstring& path) {
  constexpr wchar_t kExtension[] = L".zip";
  constexpr std::size_t kLength = 4;
  if (path.size() < kLength || _wcsicmp(path.c_str() + path.size() - kLength, kExtension) != 0) {
    return false;
  }
  const UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  char begin[4] = {};
  DWORD count = 0;
  if (!file || !ReadFile(file.Get(), begin, sizeof begin, &count, nullptr)) return false;
  const std::string_view mark(begin, count);
  return mark == "PK\3\4" || mark == "PK\5\6";
}

using NameSpaceMethod = HRESULT(WINAPI*)(IShellDispatch* shell, VARIANT path, Folder** folder);
NameSpaceMethod gWinesNameSpace = nullptr;

HRESULT WINAPI OpenFolderOrZip(IShellDispatch* shell, VARIANT path, Folder** folder) {
  if (V_VT(&path) == VT_BSTR && V_BSTR(&path) != nullptr && IsZip(V_BSTR(&path))) {
    *folder = new ZipFolder(V_BSTR(&path));
    return S_OK;
  }
  return gWinesNameSpace(shell, path, folder);
}

bool IsOfTheShell(NameSpaceMethod method) {
  HMODULE owner = nullptr;
  const auto place = reinterpret_cast<LPCWSTR>(reinterpret_cast<const void*>(method));
  (void)GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, place,
      &owner);
  return owner == GetModuleHandleW(L"shell32.dll");
}

/// Puts the method above in the place of Wine's, for all objects of the shell.
void ReplaceNameSpace(void* shell) {
  // Behind the methods of IDispatch, the application and the parent.
  constexpr std::size_t kPlace = 9;
  auto* const method = *static_cast<NameSpaceMethod**>(shell) + kPlace;
  // Behind a proxy, of a thread of another kind, is an object of the shell's own.
  if (*method == OpenFolderOrZip || !IsOfTheShell(*method)) return;
  gWinesNameSpace = *method;
  DWORD protection = 0;
  (void)VirtualProtect(method, sizeof *method, PAGE_READWRITE, &protection);
  *method = OpenFolderOrZip;
  (void)VirtualProtect(method, sizeof *method, protection, &protection);
}

HRESULT WINAPI CreateInstance(REFCLSID type, LPUNKNOWN outer, DWORD context, REFIID id,
                              LPVOID* object) {
  static const auto create =
      Supplied::WinesOwn<decltype(&CoCreateInstance)>(L"ole32.dll", "CoCreateInstance");
  const HRESULT result = create(type, outer, context, id, object);
  if (SUCCEEDED(result) && type == CLSID_Shell && id == IID_IShellDispatch) {
    ReplaceNameSpace(*object);
  }
  return result;
}

}  // namespace

// What a call of an imported function goes through. The linker takes this one before it looks into
// the import library.
extern "C" {
decltype(&CoCreateInstance) __imp_CoCreateInstance = CreateInstance;
}
