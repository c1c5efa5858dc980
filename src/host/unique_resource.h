// Owners of Windows resources: one template, and one traits struct for each kind of handle.
#pragma once

#include <cstdio>
#include <utility>

#include "host/windows_api.h"

namespace Halvard::Host {

/// Owns one system resource and releases it exactly once. Traits gives Type, Invalid() and
/// Release(Type). Releasing keeps the thread's last error, so a guard may end between a failed
/// call and the line that reports it.
template <typename Traits>
class UniqueResource {
 public:
  using Type = typename Traits::Type;

  explicit UniqueResource(Type value = Traits::Invalid()) : value_(value) {}
  UniqueResource(UniqueResource&& other) noexcept : value_(other.Detach()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    Reset(other.Detach());
    return *this;
  }
  ~UniqueResource() { Reset(); }

  explicit operator bool() const { return value_ != Traits::Invalid(); }
  Type Get() const { return value_; }
  Type Detach() { return std::exchange(value_, Traits::Invalid()); }
  void Reset(Type value = Traits::Invalid()) {
    const Type old = std::exchange(value_, value);
    if (old == Traits::Invalid()) return;
    const DWORD error = GetLastError();
    Traits::Release(old);
    SetLastError(error);
  }

 private:
  Type value_;
};

/// Handles that CloseHandle releases and whose failure value is INVALID_HANDLE_VALUE: files.
struct FileTraits {
  using Type = HANDLE;
  static Type Invalid() { return INVALID_HANDLE_VALUE; }
  static void Release(Type file) { CloseHandle(file); }
};
using UniqueFile = UniqueResource<FileTraits>;

/// Handles that CloseHandle releases and whose failure value is null: mappings, threads, events.
struct HandleTraits {
  using Type = HANDLE;
  static Type Invalid() { return nullptr; }
  static void Release(Type handle) { CloseHandle(handle); }
};
using UniqueHandle = UniqueResource<HandleTraits>;

/// Snapshots of threads or modules.
struct SnapshotTraits {
  using Type = HANDLE;
  static Type Invalid() { return INVALID_HANDLE_VALUE; }
  static void Release(Type snapshot) { CloseHandle(snapshot); }
};
using UniqueSnapshot = UniqueResource<SnapshotTraits>;

/// Walks through the entries of a folder.
struct FindTraits {
  using Type = HANDLE;
  static Type Invalid() { return INVALID_HANDLE_VALUE; }
  static void Release(Type find) { FindClose(find); }
};
using UniqueFind = UniqueResource<FindTraits>;

/// Keys of the registry that were opened; never the predefined ones.
struct RegistryKeyTraits {
  using Type = HKEY;
  static Type Invalid() { return nullptr; }
  static void Release(Type key) { RegCloseKey(key); }
};
using UniqueRegistryKey = UniqueResource<RegistryKeyTraits>;

/// Handles of the service manager and of services.
struct ServiceHandleTraits {
  using Type = SC_HANDLE;
  static Type Invalid() { return nullptr; }
  static void Release(Type service) { CloseServiceHandle(service); }
};
using UniqueServiceHandle = UniqueResource<ServiceHandleTraits>;

/// Texts that the shell allocated for the caller.
struct TaskMemoryTraits {
  using Type = PWSTR;
  static Type Invalid() { return nullptr; }
  static void Release(Type text) { CoTaskMemFree(text); }
};
using UniqueTaskMemory = UniqueResource<TaskMemoryTraits>;

/// Streams of the C runtime.
struct StreamTraits {
  using Type = std::FILE*;
  static Type Invalid() { return nullptr; }
  static void Release(Type stream) { (void)std::fclose(stream); }
};
using UniqueStream = UniqueResource<StreamTraits>;

/// Views of mapped files.
struct ViewTraits {
  using Type = const void*;
  static Type Invalid() { return nullptr; }
  static void Release(Type view) { UnmapViewOfFile(view); }
};
using UniqueView = UniqueResource<ViewTraits>;

/// Security identifiers that AllocateAndInitializeSid made.
struct SidTraits {
  using Type = PSID;
  static Type Invalid() { return nullptr; }
  static void Release(Type sid) { FreeSid(sid); }
};
using UniqueSid = UniqueResource<SidTraits>;

/// Sessions with a directory server; the end closes the connection.
struct LdapSessionTraits {
  using Type = LDAP*;
  static Type Invalid() { return nullptr; }
  static void Release(Type session) { ldap_unbind(session); }
};
using UniqueLdapSession = UniqueResource<LdapSessionTraits>;

/// Results of searches; their entries go with them.
struct LdapResultTraits {
  using Type = LDAPMessage*;
  static Type Invalid() { return nullptr; }
  static void Release(Type result) { ldap_msgfree(result); }
};
using UniqueLdapResult = UniqueResource<LdapResultTraits>;

/// Places in an entry; to be released before its result.
struct BerElementTraits {
  using Type = BerElement*;
  static Type Invalid() { return nullptr; }
  static void Release(Type element) { ber_free(element, 0); }
};
using UniqueBerElement = UniqueResource<BerElementTraits>;

/// Lists of values that end in null.
struct LdapValuesTraits {
  using Type = PWCHAR*;
  static Type Invalid() { return nullptr; }
  static void Release(Type values) { ldap_value_freeW(values); }
};
using UniqueLdapValues = UniqueResource<LdapValuesTraits>;

/// Texts that the directory client allocated.
struct LdapTextTraits {
  using Type = PWCHAR;
  static Type Invalid() { return nullptr; }
  static void Release(Type text) { ldap_memfreeW(text); }
};
using UniqueLdapText = UniqueResource<LdapTextTraits>;

/// Sockets.
struct SocketTraits {
  using Type = SOCKET;
  static Type Invalid() { return INVALID_SOCKET; }
  static void Release(Type socket) { (void)closesocket(socket); }
};
using UniqueSocket = UniqueResource<SocketTraits>;

/// What functions of the network's management hand out; one of them finds the domain's controller.
template <typename Record>
struct NetApiTraits {
  using Type = Record*;
  static Type Invalid() { return nullptr; }
  static void Release(Type record) { (void)NetApiBufferFree(record); }
};
using UniqueDomainController = UniqueResource<NetApiTraits<DOMAIN_CONTROLLER_INFOW>>;

/// Modules that LoadLibraryW loaded once more.
struct ModuleTraits {
  using Type = HMODULE;
  static Type Invalid() { return nullptr; }
  static void Release(Type module) { FreeLibrary(module); }
};
using UniqueModule = UniqueResource<ModuleTraits>;

/// Addresses that the resolver found.
struct AddressListTraits {
  using Type = PADDRINFOW;
  static Type Invalid() { return nullptr; }
  static void Release(Type list) { FreeAddrInfoW(list); }
};
using UniqueAddressList = UniqueResource<AddressListTraits>;

/// Records that a DNS query brought.
struct DnsRecordsTraits {
  using Type = PDNS_RECORD;
  static Type Invalid() { return nullptr; }
  static void Release(Type records) { DnsFree(records, DnsFreeRecordList); }
};
using UniqueDnsRecords = UniqueResource<DnsRecordsTraits>;

}  // namespace Halvard::Host
