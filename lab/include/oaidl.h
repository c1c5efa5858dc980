// Automation: objects that scripts could call, and the values that they take.
#pragma once

#include <unknwn.h>

using OLECHAR = WCHAR;
/// Text with its length before it. Made and freed by the functions of oleauto.h alone.
using BSTR = OLECHAR*;

using VARIANT_BOOL = SHORT;
#define VARIANT_TRUE static_cast<VARIANT_BOOL>(-1)
#define VARIANT_FALSE static_cast<VARIANT_BOOL>(0)

using VARTYPE = std::uint16_t;
enum VARENUM { VT_EMPTY = 0, VT_I4 = 3, VT_BSTR = 8, VT_DISPATCH = 9 };

/// What the agent calls of such objects it calls directly, so the methods by name aren't here.
struct IDispatch : IUnknown {
 protected:
  ~IDispatch() = default;
};

inline constexpr IID IID_IDispatch = {
    0x00020400, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

struct VARIANT {
  VARTYPE vt;
  std::uint16_t wReserved1;
  std::uint16_t wReserved2;
  std::uint16_t wReserved3;
  union {
    LONG lVal;
    BSTR bstrVal;
    IDispatch* pdispVal;
  };
};
using VARIANTARG = VARIANT;
