// The calls of the SSH library, seen and failed: the program is linked so that they pass here.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Halvard::Testing {

/// Watches the calls for as long as it lives. One at a time.
class SshCalls {
 public:
  SshCalls();
  SshCalls(const SshCalls&) = delete;
  SshCalls& operator=(const SshCalls&) = delete;
  ~SshCalls();

  /// Calls of the function aren't made from now on, but answer the result; a function that answers
  /// with a pointer answers null.
  void Fail(const std::string& function, int result = -1);
  /// Does something before each call of a function.
  void Before(const std::string& function, std::function<void()> action);
  /// Lets the library take no more than this of a block at once.
  void TakeAtMost(std::size_t bytes);

  /// \return The functions called so far. The parts of a block's writing count as one.
  std::vector<std::string> Functions() const;
  /// \return Reason, text and language of the last session's end, with blanks in between.
  std::string Goodbye() const;
  /// \return Bytes of the longest piece that was handed to a cipher at once.
  std::size_t LongestCipherPiece() const;
  /// \return Pieces of memory that the sessions begun so far still hold.
  std::ptrdiff_t HeldPieces() const;
};

}  // namespace Halvard::Testing
