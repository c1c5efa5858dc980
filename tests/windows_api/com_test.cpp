// COM, texts and values of automation, and the shell as an object.
#include <string>
#include <thread>

#include "host/com.h"
#include "scratch_folder.h"
#include "what_wine_lacks.h"

namespace {

using Halvard::Host::ComPtr;
using Halvard::Host::Variant;

/// Does something on a thread that has no COM.
template <typename Action>
void OnANewThread(Action action) {
  std::thread(action).join();
}

HRESULT MakeShell(ComPtr<IShellDispatch>& shell) {
  return CoCreateInstance(CLSID_Shell, nullptr, CLSCTX_INPROC_SERVER, IID_IShellDispatch,
                          shell.PutAny());
}

TEST(Com, BelongsToAThread) {
  OnANewThread([] {
    ComPtr<IShellDispatch> shell;
    EXPECT_EQ(MakeShell(shell), static_cast<HRESULT>(0x800401F0));
    EXPECT_FALSE(shell);
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    EXPECT_EQ(MakeShell(shell), S_OK);
    EXPECT_TRUE(shell);
  });
}

TEST(Com, KnowsItsClassesAndTheirInterfaces) {
  OnANewThread([] {
    (void)CoInitialize(nullptr);
    const CLSID unknown = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
    void* object = &object;
    EXPECT_EQ(CoCreateInstance(unknown, nullptr, CLSCTX_INPROC_SERVER, IID_IShellDispatch, &object),
              static_cast<HRESULT>(0x80040154));
    EXPECT_EQ(object, nullptr);
    object = &object;
    EXPECT_EQ(CoCreateInstance(CLSID_Shell, nullptr, CLSCTX_INPROC_SERVER, unknown, &object),
              static_cast<HRESULT>(0x80004002));
    EXPECT_EQ(object, nullptr);
  });
}

constexpr DWORD kOneThread = COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE;

TEST(Com, StaysOfItsKindUntilItIsGivenBackAsOftenAsItWasTaken) {
  constexpr auto kChangedMode = static_cast<HRESULT>(0x80010106);
  OnANewThread([&] {
    EXPECT_EQ(CoInitializeEx(nullptr, kOneThread), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, kOneThread), S_FALSE);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), kChangedMode);
    for (int i = 0; i < 3; ++i) CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, kOneThread), kChangedMode);
    EXPECT_EQ(CoInitialize(nullptr), kChangedMode);
    CoUninitialize();
    ComPtr<IShellDispatch> shell;
    EXPECT_EQ(MakeShell(shell), static_cast<HRESULT>(0x800401F0));
  });
}

TEST(Com, OfTheOtherKindMakesObjectsToo) {
  OnANewThread([] {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ComPtr<IShellDispatch> shell;
    EXPECT_EQ(MakeShell(shell), S_OK);
    shell.Reset();
    CoUninitialize();
  });
}

TEST(AutomationText, IsACopy) {
  std::wstring text = L"Z\u00fcrich \u6771\u4eac \U0001F511";
  Variant variant;
  ASSERT_TRUE(variant.SetText(text.c_str()));
  EXPECT_EQ(V_VT(&variant.Get()), VT_BSTR);
  text[0] = L'?';
  EXPECT_STREQ(V_BSTR(&variant.Get()), L"Z\u00fcrich \u6771\u4eac \U0001F511");
}

TEST(AutomationText, OfNothingIsNothing) { EXPECT_EQ(SysAllocString(nullptr), nullptr); }

TEST(AutomationText, KnowsItsLength) {
  for (const std::wstring& text :
       {std::wstring(), std::wstring(L"a"), std::wstring(L"Z\u00fcrich \u6771\u4eac")}) {
    const BSTR copy = SysAllocString(text.c_str());
    EXPECT_EQ(SysStringLen(copy), text.size());
    SysFreeString(copy);
  }
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  SysFreeString(nullptr);
}

TEST(AutomationText, MayBeEmpty) {
  Variant variant;
  ASSERT_TRUE(variant.SetText(L""));
  EXPECT_STREQ(V_BSTR(&variant.Get()), L"");
}

TEST(AutomationValue, BeginsAndEndsEmpty) {
  VARIANT variant;
  VariantInit(&variant);
  EXPECT_EQ(V_VT(&variant), VT_EMPTY);
  V_VT(&variant) = VT_I4;
  V_I4(&variant) = 1556;
  EXPECT_EQ(VariantClear(&variant), S_OK);
  EXPECT_EQ(V_VT(&variant), VT_EMPTY);
  V_VT(&variant) = VT_DISPATCH;
  V_DISPATCH(&variant) = nullptr;
  EXPECT_EQ(VariantClear(&variant), S_OK);
  EXPECT_EQ(V_VT(&variant), VT_EMPTY);
}

class ShellFolders : public testing::Test {
 protected:
  ShellFolders() {
    (void)CoInitialize(nullptr);
    EXPECT_EQ(MakeShell(shell_), S_OK);
  }

  HRESULT Open(const std::wstring& path) {
    Variant text;
    EXPECT_TRUE(text.SetText(path.c_str()));
    return shell_->NameSpace(text.Get(), folder_.Put());
  }

  const WindowsApi::ScratchFolder scratch_;
  ComPtr<IShellDispatch> shell_;
  ComPtr<Folder> folder_;
};

TEST_F(ShellFolders, AreOpenedByTheirPaths) {
  const std::wstring path = scratch_.MakeFolder(L"a folder");
  for (const std::wstring& name : {path, path + L"\\"}) {
    EXPECT_EQ(Open(name), S_OK);
    EXPECT_TRUE(folder_);
  }
}

TEST_F(ShellFolders, AreNoneForOtherPathsThoughThatIsASuccess) {
  const std::wstring file = scratch_.Write(L"file.txt");
  std::wstring slashes = scratch_.MakeFolder(L"folder");
  for (wchar_t& c : slashes) c = c == L'\\' ? L'/' : c;
  for (const std::wstring& path : {scratch_.In(L"missing"), scratch_.In(L"missing\\too"), file,
                                   slashes, std::wstring(L"relative")}) {
    EXPECT_EQ(Open(path), S_FALSE);
    EXPECT_FALSE(folder_);
  }
  const Variant empty;
  EXPECT_EQ(shell_->NameSpace(empty.Get(), folder_.Put()), S_FALSE);
  EXPECT_FALSE(folder_);
}

TEST_F(ShellFolders, HaveItemsAlsoWhenTheyAreEmpty) {
  ASSERT_EQ(Open(scratch_.MakeFolder(L"empty")), S_OK);
  ComPtr<FolderItems> items;
  EXPECT_EQ(folder_->Items(items.Put()), S_OK);
  EXPECT_TRUE(items);
}

TEST_F(ShellFolders, AreDispatchedByTheirOwnPointer) {
  ASSERT_EQ(Open(scratch_.MakeFolder(L"folder")), S_OK);
  ComPtr<FolderItems> items;
  ASSERT_EQ(folder_->Items(items.Put()), S_OK);
  ComPtr<IDispatch> dispatch;
  EXPECT_EQ(folder_->QueryInterface(IID_IDispatch, dispatch.PutAny()), S_OK);
  EXPECT_TRUE(dispatch);
  EXPECT_EQ(items->QueryInterface(IID_IDispatch, dispatch.PutAny()), S_OK);
  EXPECT_TRUE(dispatch);
  ComPtr<IUnknown> unknown;
  EXPECT_EQ(dispatch->QueryInterface(IID_IUnknown, unknown.PutAny()), S_OK);
  EXPECT_EQ(dispatch->QueryInterface(CLSID_Shell, unknown.PutAny()),
            static_cast<HRESULT>(0x80004002));
  EXPECT_FALSE(unknown);
}

TEST_F(ShellFolders, MayBeZipFiles) {
  SKIP_ON_BARE_WINE("IShellDispatch::NameSpace opens no zip files");
  const std::string empty = std::string("PK\5\6", 4) + std::string(18, '\0');
  EXPECT_EQ(Open(scratch_.Write(L"empty.ZIP", empty)), S_OK);
  EXPECT_TRUE(folder_);
  EXPECT_EQ(Open(scratch_.Write(L"empty.dat", empty)), S_FALSE);
  EXPECT_EQ(Open(scratch_.Write(L"none.zip", "no zip at all, though it has the name")), S_FALSE);
  EXPECT_FALSE(folder_);
}

TEST_F(ShellFolders, AreCopiedIntoZipFiles) {
  SKIP_ON_BARE_WINE(
      "IShellDispatch::NameSpace opens no zip files, and Folder::CopyHere does nothing");
  const std::string empty = std::string("PK\5\6", 4) + std::string(18, '\0');
  const std::wstring zip = scratch_.Write(L"copy.zip", empty);
  scratch_.MakeFolder(L"folder");
  scratch_.Write(L"folder\\file.txt");
  ASSERT_EQ(Open(scratch_.In(L"folder")), S_OK);
  ComPtr<IDispatch> dispatch;
  ASSERT_EQ(folder_->QueryInterface(IID_IDispatch, dispatch.PutAny()), S_OK);
  Variant item;
  dispatch->AddRef();
  item.SetObject(dispatch.Get());
  Variant options;
  options.SetNumber(FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI);
  ASSERT_EQ(Open(zip), S_OK);
  EXPECT_EQ(folder_->CopyHere(item.Get(), options.Get()), S_OK);
  // Nothing tells of the end; the list of entries is the last that is written.
  std::string contents;
  do {
    Sleep(1);
    contents = WindowsApi::Contents(zip);
  } while (contents.find(std::string("PK\5\6", 4)) == std::string::npos || contents == empty);
  EXPECT_NE(contents.find("folder/file.txt"), std::string::npos);
}

TEST(MakeFolder, MakesOne) {
  const WindowsApi::ScratchFolder scratch;
  EXPECT_TRUE(CreateDirectoryW(scratch.In(L"new \u6771\u4eac").c_str(), nullptr));
  EXPECT_NE(GetFileAttributesW(scratch.In(L"new \u6771\u4eac").c_str()) & FILE_ATTRIBUTE_DIRECTORY,
            0u);
}

TEST(MakeFolder, RefusesWhatIsThereAndWhatHasNoParent) {
  const WindowsApi::ScratchFolder scratch;
  EXPECT_FALSE(CreateDirectoryW(scratch.MakeFolder(L"folder").c_str(), nullptr));
  EXPECT_EQ(WindowsApi::LastError(), 183u);
  EXPECT_FALSE(CreateDirectoryW(scratch.Write(L"file").c_str(), nullptr));
  EXPECT_EQ(WindowsApi::LastError(), 183u);
  EXPECT_FALSE(CreateDirectoryW(scratch.In(L"missing\\folder").c_str(), nullptr));
  EXPECT_EQ(WindowsApi::LastError(), 3u);
}

}  // namespace
