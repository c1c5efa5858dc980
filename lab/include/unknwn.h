// The interface that every COM object has.
#pragma once

#include <guiddef.h>
#include <winerror.h>

#define STDMETHODCALLTYPE

struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};

inline constexpr IID IID_IUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
