// Faults that a test plans: which call or connection fails, and how.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Lab::Kelvane {

/// Which of a row of calls: that of the number, or all from a number on, or all.
struct Occurrence {
  std::optional<std::uint32_t> only;
  std::optional<std::uint32_t> from;

  bool Covers(std::uint32_t number) const {
    return only ? number == *only : number >= from.value_or(1);
  }
};

struct OperationFault {
  enum class Kind {
    kSlow,     ///< The answer comes after some time.
    kPieces,   ///< The answer comes in small pieces.
    kCut,      ///< The connection breaks off within the answer.
    kClose,    ///< The connection is closed in good order behind the answer.
    kFault,    ///< A fault in place of the answer; nothing is done.
    kGarbage,  ///< Anything else in place of the answer; nothing is done.
  };

  std::string operation;
  Occurrence calls;
  Kind kind = Kind::kSlow;
  std::uint32_t milliseconds = 0;
  std::uint32_t bytes = 0;  ///< Size of a piece, or bytes of the answer before the cut.
  std::string type;         ///< Of the fault.
  std::string text;         ///< Of the fault, or the body.
  std::uint32_t times = 1;  ///< How often the text stands in the body.
  unsigned status = 200;    ///< Of the garbage.
};

struct ConnectionFault {
  enum class Kind {
    kCertificate,  ///< The handshake shows another certificate than the announced one.
    kClose,        ///< The connection is closed before a byte has been exchanged.
    kSilence,      ///< The connection is taken and never answered.
    kTunnel,       ///< CONNECT is answered with a status; of class 2xx, TLS follows.
  };

  Occurrence connections;
  Kind kind = Kind::kClose;
  unsigned status = 0;  ///< Of the answer to CONNECT.
};

/// Counts what happens and tells which of it is to fail. The first that fits decides.
class PlannedFaults {
 public:
  PlannedFaults(std::vector<OperationFault> operations, std::vector<ConnectionFault> connections);

  /// Counts a call of the operation. \return Its fault; null for a call that goes as it should.
  /// Lives as long as this object.
  const OperationFault* NextCall(const std::string& operation);

  /// Counts a connection. \return Its fault; null for one that goes as it should.
  const ConnectionFault* NextConnection();

 private:
  std::vector<OperationFault> operations_;
  std::vector<ConnectionFault> connections_;
  std::map<std::string, std::uint32_t> calls_;
  std::uint32_t connectionCount_ = 0;
};

}  // namespace Lab::Kelvane
