// Texts and values of automation.
#pragma once

#include <oaidl.h>

#define V_VT(variant) ((variant)->vt)
#define V_I4(variant) ((variant)->lVal)
#define V_BSTR(variant) ((variant)->bstrVal)
#define V_DISPATCH(variant) ((variant)->pdispVal)

/// \return A copy; null for null, and without memory.
BSTR WINAPI SysAllocString(const OLECHAR* text);
/// Frees what SysAllocString made; nothing for null.
void WINAPI SysFreeString(BSTR text);
/// \return Characters; 0 for null.
UINT WINAPI SysStringLen(BSTR text);
void WINAPI VariantInit(VARIANTARG* variant);
HRESULT WINAPI VariantClear(VARIANTARG* variant);
