#include "directory/directory_connection.h"

#include <lber.h>
#include <ldap.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "machine/text.h"

namespace Lab {
namespace {

constexpr unsigned kServerDown = 0x51;
constexpr unsigned kTimeout = 0x55;

/// libldap's own codes are negative where those of Windows go on after 0x50; what a server answers
/// is the same in both.
unsigned WindowsCode(int result) {
  return static_cast<unsigned>(result < 0 ? 0x50 - result : result);
}

timeval TimeOf(std::chrono::milliseconds time) {
  timeval value{};
  value.tv_sec = time.count() / 1000;
  value.tv_usec = time.count() % 1000 * 1000;
  return value;
}

/// Ends a connection that takes too long. libldap's own time-outs are over before the handshake,
/// and in the handshake it waits on, whatever the socket's are.
class ConnectLimit {
 public:
  explicit ConnectLimit(std::chrono::milliseconds limit)
      : thread_([this, limit] { Wait(limit); }) {}
  ConnectLimit(const ConnectLimit&) = delete;
  ConnectLimit& operator=(const ConnectLimit&) = delete;
  ~ConnectLimit() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    changed_.notify_one();
    thread_.join();
  }

  /// \param descriptor  -1: none at the moment.
  void Watch(int descriptor) {
    const std::lock_guard lock(mutex_);
    descriptor_ = descriptor;
  }

  bool Expired() {
    const std::lock_guard lock(mutex_);
    return expired_;
  }

 private:
  void Wait(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    if (changed_.wait_for(lock, limit, [this] { return done_; })) return;
    expired_ = true;
    if (descriptor_ >= 0) (void)shutdown(descriptor_, SHUT_RDWR);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
  bool expired_ = false;
  int descriptor_ = -1;
  std::thread thread_;
};

using CurrentLimit = std::unique_ptr<ConnectLimit>;

int OnTcpConnected(LDAP*, Sockbuf* buffer, LDAPURLDesc*, sockaddr*, ldap_conncb* callback) {
  int descriptor = -1;
  (void)ber_sockbuf_ctrl(buffer, LBER_SB_OPT_GET_FD, &descriptor);
  const auto& limit = *static_cast<const CurrentLimit*>(callback->lc_arg);
  if (limit) limit->Watch(descriptor);
  return 0;
}

void OnClosing(LDAP*, Sockbuf*, ldap_conncb* callback) {
  const auto& limit = *static_cast<const CurrentLimit*>(callback->lc_arg);
  if (limit) limit->Watch(-1);
}

/// Keeps the signal of a write to a broken connection, which Windows doesn't have, from ending the
/// program: libldap doesn't.
class NoPipeSignal {
 public:
  NoPipeSignal() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_, &former_);
  }
  NoPipeSignal(const NoPipeSignal&) = delete;
  NoPipeSignal& operator=(const NoPipeSignal&) = delete;
  ~NoPipeSignal() {
    constexpr timespec kAtOnce{};
    while (sigtimedwait(&pipe_, nullptr, &kAtOnce) == SIGPIPE) continue;
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
  }

 private:
  sigset_t pipe_{};
  sigset_t former_{};
};

/// "ldaps://[::1]:636 ldaps://127.0.0.1:636"
std::string Uris(const std::vector<HostPort>& addresses, bool tls) {
  std::string uris;
  for (const HostPort& address : addresses) {
    const bool isIpv6 = address.host.find(':') != std::string::npos;
    uris += (uris.empty() ? "" : " ") + std::string(tls ? "ldaps://" : "ldap://") +
            (isIpv6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
  }
  return uris;
}

}  // namespace

/// libldap's handle.
class DirectoryConnection::Session {
 public:
  explicit Session(const Settings& settings) : timeout_(settings.timeout) {
    if (ldap_initialize(&handle_, Uris(settings.addresses, settings.tls).c_str()) != 0) return;
    const timeval limit = TimeOf(timeout_);
    (void)ldap_set_option(handle_, LDAP_OPT_PROTOCOL_VERSION, &settings.version);
    (void)ldap_set_option(handle_, LDAP_OPT_NETWORK_TIMEOUT, &limit);
    (void)ldap_set_option(handle_, LDAP_OPT_CONNECT_CB, &callback_);
    if (settings.tls) TakeAnyCertificate();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    const NoPipeSignal guard;
    if (handle_ != nullptr) (void)ldap_unbind_ext(handle_, nullptr, nullptr);
  }

  LDAP* Handle() const { return handle_; }

  unsigned Connect() {
    if (handle_ == nullptr) return kServerDown;
    limit_ = std::make_unique<ConnectLimit>(timeout_);
    const int result = ldap_connect(handle_);
    const bool expired = limit_->Expired();
    limit_.reset();
    if (expired) return kTimeout;
    if (result != LDAP_SUCCESS) return WindowsCode(result);
    // From here on a silent server is waited for, however long.
    (void)ldap_set_option(handle_, LDAP_OPT_NETWORK_TIMEOUT, nullptr);
    return 0;
  }

  std::vector<std::byte> Certificate() const {
    berval der{};
    if (ldap_get_option(handle_, LDAP_OPT_X_TLS_PEERCERT, &der) != LDAP_OPT_SUCCESS) return {};
    const auto* const bytes = reinterpret_cast<const std::byte*>(der.bv_val);
    std::vector<std::byte> certificate(bytes, bytes + der.bv_len);
    ber_memfree(der.bv_val);
    return certificate;
  }

 private:
  /// Whether it's a good one is for the callback to say.
  void TakeAnyCertificate() {
    const int never = LDAP_OPT_X_TLS_NEVER;
    (void)ldap_set_option(handle_, LDAP_OPT_X_TLS_REQUIRE_CERT, &never);
    const int client = 0;
    (void)ldap_set_option(handle_, LDAP_OPT_X_TLS_NEWCTX, &client);
  }

  std::chrono::milliseconds timeout_;
  CurrentLimit limit_;  ///< While a connection is made.
  ldap_conncb callback_{&OnTcpConnected, &OnClosing, &limit_};
  LDAP* handle_ = nullptr;
};

namespace {

std::vector<std::wstring> ValuesOf(LDAP* handle, LDAPMessage* entry, const char* name) {
  std::vector<std::wstring> texts;
  berval** const values = ldap_get_values_len(handle, entry, name);
  for (berval** value = values; value != nullptr && *value != nullptr; ++value) {
    texts.push_back(ToWide({(*value)->bv_val, (*value)->bv_len}));
  }
  ldap_value_free_len(values);
  return texts;
}

DirectoryEntry ReadEntry(LDAP* handle, LDAPMessage* message) {
  DirectoryEntry entry;
  BerElement* position = nullptr;
  for (char* name = ldap_first_attribute(handle, message, &position); name != nullptr;
       name = ldap_next_attribute(handle, message, position)) {
    entry.attributes.push_back({ToWide(name), ValuesOf(handle, message, name)});
    ldap_memfree(name);
  }
  ber_free(position, 0);
  return entry;
}

}  // namespace

DirectoryConnection::DirectoryConnection(Settings settings) : settings_(std::move(settings)) {}

DirectoryConnection::~DirectoryConnection() = default;

unsigned DirectoryConnection::Open() {
  if (settings_.addresses.empty()) return kServerDown;
  session_ = std::make_unique<Session>(settings_);
  if (const unsigned code = session_->Connect(); code != 0) return code;
  if (settings_.tls && !settings_.accepts(session_->Certificate())) return kServerDown;
  return 0;
}

unsigned DirectoryConnection::Connect() {
  const NoPipeSignal guard;
  if (session_) return 0;
  const unsigned code = Open();
  if (code != 0) session_.reset();
  return code;
}

unsigned DirectoryConnection::Bind(const std::wstring& name, const std::wstring& password) {
  const NoPipeSignal guard;
  if (const unsigned code = Connect(); code != 0) return code;
  std::string secret = ToUtf8(password);
  const berval credentials{secret.size(), secret.data()};
  return WindowsCode(ldap_sasl_bind_s(session_->Handle(), ToUtf8(name).c_str(), LDAP_SASL_SIMPLE,
                                      const_cast<berval*>(&credentials), nullptr, nullptr,
                                      nullptr));
}

unsigned DirectoryConnection::SearchRoot(const std::wstring& filter,
                                         const std::vector<std::wstring>& attributes,
                                         std::vector<DirectoryEntry>& entries) {
  const NoPipeSignal guard;
  if (const unsigned code = Connect(); code != 0) return code;
  std::vector<std::string> names;
  for (const std::wstring& attribute : attributes) names.push_back(ToUtf8(attribute));
  std::vector<char*> list;
  for (std::string& name : names) list.push_back(name.data());
  list.push_back(nullptr);
  LDAPMessage* result = nullptr;
  const int code =
      ldap_search_ext_s(session_->Handle(), "", LDAP_SCOPE_BASE, ToUtf8(filter).c_str(),
                        list.data(), 0, nullptr, nullptr, nullptr, LDAP_NO_LIMIT, &result);
  if (result == nullptr) return WindowsCode(code);
  LDAP* const handle = session_->Handle();
  for (LDAPMessage* entry = ldap_first_entry(handle, result); entry != nullptr;
       entry = ldap_next_entry(handle, entry)) {
    entries.push_back(ReadEntry(handle, entry));
  }
  (void)ldap_msgfree(result);
  return WindowsCode(code);
}

}  // namespace Lab
