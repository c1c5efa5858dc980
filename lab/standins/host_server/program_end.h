// When a stand-in that is a program of its own has to end.
#pragma once

namespace Lab {

/// From its making on SIGTERM and SIGINT no longer end the program: they end the wait. Children
/// that are started meanwhile inherit that, so start them before.
class ProgramEnd {
 public:
  ProgramEnd();
  ProgramEnd(const ProgramEnd&) = delete;
  ProgramEnd& operator=(const ProgramEnd&) = delete;
  ~ProgramEnd();

  /// Blocks until one of the signals has come.
  /// \param untilInputEnds  The end of standard input ends the wait as well; what comes through it
  ///                        is ignored.
  void Wait(bool untilInputEnds) const;

 private:
  int requests_;  ///< Readable once a signal has come.
};

}  // namespace Lab
