// The three standard streams of the process, as handles.
#pragma once

#include "machine/handles.h"

namespace Lab {

/// A standard stream: a terminal of the host is a console, anything else is a pipe or a file.
class StandardStream : public Object {
 public:
  explicit StandardStream(int descriptor) : descriptor_(descriptor) {}

  const char* TypeName() const override { return "StandardStream"; }

  int Descriptor() const { return descriptor_; }
  bool IsConsole() const;

 private:
  const int descriptor_;
};

/// \return The stream if the handle names one that is a console, else null.
std::shared_ptr<StandardStream> FindConsole(HANDLE handle);

}  // namespace Lab
