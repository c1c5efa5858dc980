#include "console/standard_stream.h"

#include <unistd.h>

namespace Lab {

bool StandardStream::IsConsole() const { return isatty(descriptor_) != 0; }

std::shared_ptr<StandardStream> FindConsole(HANDLE handle) {
  auto stream = Handles().FindAs<StandardStream>(handle);
  return stream != nullptr && stream->IsConsole() ? stream : nullptr;
}

}  // namespace Lab
