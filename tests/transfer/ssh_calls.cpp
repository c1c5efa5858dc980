#include "ssh_calls.h"

#include <libssh2.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <type_traits>
#include <utility>

namespace Halvard::Testing {
namespace {

struct State {
  std::vector<std::string> functions;
  std::string failing;
  int result = 0;
  std::string watched;
  std::function<void()> action;
  std::size_t mostTaken = std::numeric_limits<std::size_t>::max();
  std::string goodbye;
  std::size_t longestPiece = 0;
  std::ptrdiff_t heldPieces = 0;
};

State* gState = nullptr;

void Record(const std::string& function) {
  // However many pieces the library makes of the content, it's one writing.
  if (gState->functions.empty() || gState->functions.back() != function) {
    gState->functions.push_back(function);
  }
  if (gState->watched == function) gState->action();
}

template <typename Result, typename... Parameters, typename... Arguments>
Result Pass(const char* function, Result (*real)(Parameters...), Arguments... arguments) {
  if (gState == nullptr) return real(arguments...);
  Record(function);
  if (gState->failing != function) return real(arguments...);
  if constexpr (std::is_pointer_v<Result>) {
    return nullptr;
  } else if constexpr (!std::is_void_v<Result>) {
    return static_cast<Result>(gState->result);
  }
}

/// \return How much of a piece the library gets to see.
std::size_t Offered(std::size_t length) {
  return gState == nullptr ? length : std::min(length, gState->mostTaken);
}

/// \return The reason, noted with its words.
int Noted(int reason, const char* text, const char* language) {
  if (gState != nullptr) gState->goodbye = std::to_string(reason) + " " + text + " " + language;
  return reason;
}

// The memory of a session, counted.
LIBSSH2_ALLOC_FUNC(Allocate) {
  (void)abstract;
  ++gState->heldPieces;
  return std::malloc(count);
}
LIBSSH2_FREE_FUNC(Release) {
  (void)abstract;
  if (ptr != nullptr) --gState->heldPieces;
  std::free(ptr);
}
LIBSSH2_REALLOC_FUNC(Reallocate) {
  (void)abstract;
  if (ptr == nullptr) ++gState->heldPieces;
  return std::realloc(ptr, count);
}

LIBSSH2_SESSION* BeginCounted(LIBSSH2_SESSION* (*real)(LIBSSH2_ALLOC_FUNC((*)),
                                                       LIBSSH2_FREE_FUNC((*)),
                                                       LIBSSH2_REALLOC_FUNC((*)), void*),
                              void* abstract) {
  if (gState == nullptr) return real(nullptr, nullptr, nullptr, abstract);
  return Pass("libssh2_session_init_ex", real, Allocate, Release, Reallocate, abstract);
}

}  // namespace

SshCalls::SshCalls() { gState = new State; }
SshCalls::~SshCalls() { delete std::exchange(gState, nullptr); }

void SshCalls::Fail(const std::string& function, int result) {
  gState->failing = function;
  gState->result = result;
}

void SshCalls::Before(const std::string& function, std::function<void()> action) {
  gState->watched = function;
  gState->action = std::move(action);
}

void SshCalls::TakeAtMost(std::size_t bytes) { gState->mostTaken = bytes; }

std::vector<std::string> SshCalls::Functions() const { return gState->functions; }
std::string SshCalls::Goodbye() const { return gState->goodbye; }
std::size_t SshCalls::LongestCipherPiece() const { return gState->longestPiece; }
std::ptrdiff_t SshCalls::HeldPieces() const { return gState->heldPieces; }

}  // namespace Halvard::Testing

using Halvard::Testing::BeginCounted;
using Halvard::Testing::gState;
using Halvard::Testing::Noted;
using Halvard::Testing::Offered;
using Halvard::Testing::Pass;

// NAME, its result, its parameters as declared, and its arguments.
#define PASS_ON(name, result, parameters, arguments) \
  result __real_##name parameters;                   \
  result __wrap_##name parameters;                   \
  result __wrap_##name parameters { return Pass arguments; }

extern "C" {

PASS_ON(libssh2_init, int, (int flags), ("libssh2_init", __real_libssh2_init, flags))
PASS_ON(libssh2_exit, void, (), ("libssh2_exit", __real_libssh2_exit))
LIBSSH2_SESSION* __real_libssh2_session_init_ex(LIBSSH2_ALLOC_FUNC((*allocate)),
                                                LIBSSH2_FREE_FUNC((*release)),
                                                LIBSSH2_REALLOC_FUNC((*reallocate)),
                                                void* abstract);
// The agent leaves the memory of a session to the library.
LIBSSH2_SESSION* __wrap_libssh2_session_init_ex(LIBSSH2_ALLOC_FUNC((*)), LIBSSH2_FREE_FUNC((*)),
                                                LIBSSH2_REALLOC_FUNC((*)), void* abstract);
LIBSSH2_SESSION* __wrap_libssh2_session_init_ex(LIBSSH2_ALLOC_FUNC((*)), LIBSSH2_FREE_FUNC((*)),
                                                LIBSSH2_REALLOC_FUNC((*)), void* abstract) {
  return BeginCounted(__real_libssh2_session_init_ex, abstract);
}
PASS_ON(libssh2_session_handshake, int, (LIBSSH2_SESSION * session, libssh2_socket_t socket),
        ("libssh2_session_handshake", __real_libssh2_session_handshake, session, socket))
PASS_ON(libssh2_hostkey_hash, const char*, (LIBSSH2_SESSION * session, int type),
        ("libssh2_hostkey_hash", __real_libssh2_hostkey_hash, session, type))
PASS_ON(libssh2_userauth_password_ex, int,
        (LIBSSH2_SESSION * session, const char* user, unsigned userLength, const char* password,
         unsigned passwordLength, LIBSSH2_PASSWD_CHANGEREQ_FUNC((*change))),
        ("libssh2_userauth_password_ex", __real_libssh2_userauth_password_ex, session, user,
         userLength, password, passwordLength, change))
PASS_ON(libssh2_scp_send64, LIBSSH2_CHANNEL*,
        (LIBSSH2_SESSION * session, const char* path, int mode, libssh2_int64_t size,
         time_t modified, time_t accessed),
        ("libssh2_scp_send64", __real_libssh2_scp_send64, session, path, mode, size, modified,
         accessed))
PASS_ON(libssh2_channel_write_ex, ssize_t,
        (LIBSSH2_CHANNEL * channel, int stream, const char* bytes, size_t length),
        ("libssh2_channel_write_ex", __real_libssh2_channel_write_ex, channel, stream, bytes,
         Offered(length)))
PASS_ON(libssh2_channel_send_eof, int, (LIBSSH2_CHANNEL * channel),
        ("libssh2_channel_send_eof", __real_libssh2_channel_send_eof, channel))
PASS_ON(libssh2_channel_wait_eof, int, (LIBSSH2_CHANNEL * channel),
        ("libssh2_channel_wait_eof", __real_libssh2_channel_wait_eof, channel))
PASS_ON(libssh2_channel_wait_closed, int, (LIBSSH2_CHANNEL * channel),
        ("libssh2_channel_wait_closed", __real_libssh2_channel_wait_closed, channel))
PASS_ON(libssh2_channel_free, int, (LIBSSH2_CHANNEL * channel),
        ("libssh2_channel_free", __real_libssh2_channel_free, channel))
PASS_ON(libssh2_session_disconnect_ex, int,
        (LIBSSH2_SESSION * session, int reason, const char* text, const char* language),
        ("libssh2_session_disconnect_ex", __real_libssh2_session_disconnect_ex, session,
         Noted(reason, text, language), text, language))
PASS_ON(libssh2_session_free, int, (LIBSSH2_SESSION * session),
        ("libssh2_session_free", __real_libssh2_session_free, session))

int __real_EVP_Cipher(EVP_CIPHER_CTX* context, unsigned char* to, const unsigned char* from,
                      unsigned length);
int __wrap_EVP_Cipher(EVP_CIPHER_CTX* context, unsigned char* to, const unsigned char* from,
                      unsigned length);
int __wrap_EVP_Cipher(EVP_CIPHER_CTX* context, unsigned char* to, const unsigned char* from,
                      unsigned length) {
  if (gState != nullptr) {
    gState->longestPiece = std::max<std::size_t>(gState->longestPiece, length);
  }
  return __real_EVP_Cipher(context, to, from, length);
}

}  // extern "C"
