#include "tunrak/thread_facility.h"

#include <openssl/crypto.h>

namespace Tunrak::Service {
namespace {

/// Enterings of this thread that it hasn't left yet.
thread_local int tDepth = 0;

}  // namespace

void ProcessThreads::EnterThread() {
  ++tDepth;
  ++inside_;
}

void ProcessThreads::LeaveThread() {
  if (tDepth == 0) return;
  --tDepth;
  --inside_;
}

void ProcessThreads::ReleaseThread() {
  if (tDepth != 0) return;
  // A statically linked OpenSSL isn't told of a thread's end on every system.
  OPENSSL_thread_stop();
}

}  // namespace Tunrak::Service
