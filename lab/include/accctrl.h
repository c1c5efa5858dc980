// Access lists, descriptors and the entries from which lists are made.
#pragma once

#include <minwindef.h>
#include <winnt.h>

#define GENERIC_ALL 0x10000000u

#define SECURITY_DESCRIPTOR_REVISION 1u
#define SE_DACL_PRESENT 0x0004u
#define SE_DACL_PROTECTED 0x1000u
#define SE_SELF_RELATIVE 0x8000u

#define ACL_REVISION 2u
#define ACCESS_ALLOWED_ACE_TYPE 0u
#define ACCESS_DENIED_ACE_TYPE 1u
#define NO_INHERITANCE 0u

/// The head of a list; its entries follow at once.
struct ACL {
  BYTE AclRevision;
  BYTE Sbz1;
  WORD AclSize;  ///< In bytes, with the entries.
  WORD AceCount;
  WORD Sbz2;
};
using PACL = ACL*;

/// An entry that grants rights. The SID begins in the place of its last member.
struct ACCESS_ALLOWED_ACE {
  struct {
    BYTE AceType;
    BYTE AceFlags;
    WORD AceSize;
  } Header;
  DWORD Mask;
  DWORD SidStart;
};

using SECURITY_DESCRIPTOR_CONTROL = WORD;
using PSECURITY_DESCRIPTOR = PVOID;

/// The absolute form: it points to its parts.
struct SECURITY_DESCRIPTOR {
  BYTE Revision;
  BYTE Sbz1;
  SECURITY_DESCRIPTOR_CONTROL Control;
  PSID Owner;
  PSID Group;
  PACL Sacl;
  PACL Dacl;
};

/// The self-relative form: its parts lie behind it, at these distances from its beginning. 0 stands
/// for a part that isn't there.
struct SECURITY_DESCRIPTOR_RELATIVE {
  BYTE Revision;
  BYTE Sbz1;
  SECURITY_DESCRIPTOR_CONTROL Control;
  DWORD Owner;
  DWORD Group;
  DWORD Sacl;
  DWORD Dacl;
};

enum ACCESS_MODE { NOT_USED_ACCESS, GRANT_ACCESS, SET_ACCESS };
enum MULTIPLE_TRUSTEE_OPERATION { NO_MULTIPLE_TRUSTEE };
enum TRUSTEE_FORM { TRUSTEE_IS_SID };
enum TRUSTEE_TYPE { TRUSTEE_IS_UNKNOWN, TRUSTEE_IS_WELL_KNOWN_GROUP = 5 };

struct TRUSTEE_W {
  TRUSTEE_W* pMultipleTrustee;
  MULTIPLE_TRUSTEE_OPERATION MultipleTrusteeOperation;
  TRUSTEE_FORM TrusteeForm;
  TRUSTEE_TYPE TrusteeType;
  LPWSTR ptstrName;  ///< A SID for TRUSTEE_IS_SID.
};

struct EXPLICIT_ACCESS_W {
  DWORD grfAccessPermissions;
  ACCESS_MODE grfAccessMode;
  DWORD grfInheritance;
  TRUSTEE_W Trustee;
};
using PEXPLICIT_ACCESS_W = EXPLICIT_ACCESS_W*;
