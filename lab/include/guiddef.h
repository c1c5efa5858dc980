// Globally unique identifiers.
#pragma once

#include <minwindef.h>
#include <winnt.h>

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];

  friend bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;
using KNOWNFOLDERID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFKNOWNFOLDERID = const KNOWNFOLDERID&;

/// The id that a header gives to an interface or a class, where it has no name that links.
template <typename Type>
struct IdOfType;
#define __uuidof(type) IdOfType<type>::value
