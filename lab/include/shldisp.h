// The shell as an object: folders, what is in them, and copying.
#pragma once

#include <objbase.h>
#include <oleauto.h>

struct FolderItems : IDispatch {
 protected:
  ~FolderItems() = default;
};

struct Folder : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE Items(FolderItems** items) = 0;
  /// Copies into this folder, which is a zip file, and returns before it is done.
  /// \param item     A Folder, which goes in as a whole, or the FolderItems of one.
  /// \param options  FOF_* of shellapi.h.
  virtual HRESULT STDMETHODCALLTYPE CopyHere(VARIANT item, VARIANT options) = 0;

 protected:
  ~Folder() = default;
};

struct IShellDispatch : IDispatch {
  /// \param[out] folder  Null with S_FALSE for a path that is neither a folder nor a zip file.
  virtual HRESULT STDMETHODCALLTYPE NameSpace(VARIANT path, Folder** folder) = 0;

 protected:
  ~IShellDispatch() = default;
};

inline constexpr CLSID CLSID_Shell = {
    0x13709620, 0xC279, 0x11CE, {0xA4, 0x9E, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
inline constexpr IID IID_IShellDispatch = {
    0xD8F015C0, 0xC278, 0x11CE, {0xA4, 0x9E, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
inline constexpr IID IID_Folder = {
    0xBBCBDE60, 0xC3FF, 0x11CE, {0x83, 0x50, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
inline constexpr IID IID_FolderItems = {
    0x744129E0, 0xCBE5, 0x11CE, {0x83, 0x50, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
