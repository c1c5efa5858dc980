#include "directory/directory_connection.h"

#include <lber.h>
#include <ldap.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <utility>

#include "machine/text.h"

namespace Lab {
namespace {

constexpr unsigned kServerDown = 0x51;

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

/// \param limit  Zero lifts it.
void LimitReceiving(int descriptor, std::chrono::milliseconds limit) {
  const timeval time = TimeOf(limit);
  (void)setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof(time));
}

/// libldap's time-outs end before the handshake; the socket's own are what holds there.
int OnTcpConnected(LDAP*, Sockbuf* buffer, LDAPURLDesc*, sockaddr*, ldap_conncb* callback) {
  int descriptor = -1;
  if (ber_sockbuf_ctrl(buffer, LBER_SB_OPT_GET_FD, &descriptor) == 1) {
    LimitReceiving(descriptor, *static_cast<const std::chrono::milliseconds*>(callback->lc_arg));
  }
  return 0;
}

void OnClosing(LDAP*, Sockbuf*, ldap_conncb*) {}

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
    if (handle_ != nullptr) (void)ldap_unbind_ext(handle_, nullptr, nullptr);
  }

  LDAP* Handle() const { return handle_; }

  unsigned Connect() {
    if (handle_ == nullptr) return kServerDown;
    const int result = ldap_connect(handle_);
    if (result != LDAP_SUCCESS) return WindowsCode(result);
    // From here on a silent server is waited for, however long.
    int descriptor = -1;
    (void)ldap_get_option(handle_, LDAP_OPT_DESC, &descriptor);
    LimitReceiving(descriptor, {});
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
  ldap_conncb callback_{&OnTcpConnected, &OnClosing, &timeout_};
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
  if (session_) return 0;
  const unsigned code = Open();
  if (code != 0) session_.reset();
  return code;
}

unsigned DirectoryConnection::Bind(const std::wstring& name, const std::wstring& password) {
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
