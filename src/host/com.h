// Owners of what COM hands out.
#pragma once

#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Host {

/// Texts of automation; none is null. Its SysStringLen is 0 then.
struct TextTraits {
  using Type = BSTR;
  static Type Invalid() { return nullptr; }
  static void Release(Type text) { SysFreeString(text); }
};
using UniqueText = UniqueResource<TextTraits>;

/// Owns one reference to a COM object, or none.
template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ~ComPtr() { Reset(); }

  explicit operator bool() const { return object_ != nullptr; }
  Interface* Get() const { return object_; }
  Interface* operator->() const { return object_; }

  /// Where a call that makes an object leaves it. What was owned before is released.
  Interface** Put() {
    Reset();
    return &object_;
  }
  /// The same for calls that make objects of any interface.
  void** PutAny() { return reinterpret_cast<void**>(Put()); }

  void Reset() {
    if (object_ != nullptr) object_->Release();
    object_ = nullptr;
  }

 private:
  Interface* object_ = nullptr;
};

/// A value of automation with what it holds: a text is freed with it, an object released.
class Variant {
 public:
  Variant() { VariantInit(&value_); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { (void)VariantClear(&value_); }

  /// Fills an empty one with a text. \return False without memory.
  bool SetText(const wchar_t* text) {
    const BSTR copy = SysAllocString(text);
    if (copy == nullptr) return false;
    V_VT(&value_) = VT_BSTR;
    V_BSTR(&value_) = copy;
    return true;
  }

  /// Fills an empty one with an object, whose reference it takes over.
  void SetObject(IDispatch* object) {
    V_VT(&value_) = VT_DISPATCH;
    V_DISPATCH(&value_) = object;
  }

  void SetNumber(LONG number) {
    V_VT(&value_) = VT_I4;
    V_I4(&value_) = number;
  }

  /// As calls take it; it stays the owner.
  const VARIANT& Get() const { return value_; }

 private:
  VARIANT value_;
};

}  // namespace Halvard::Host
