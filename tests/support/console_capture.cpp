#include "support/console_capture.h"

#include <pty.h>
#include <stdlib.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <stdexcept>

#include "core/text.h"
#include "support/file_bytes.h"

namespace Halvard::Testing {
namespace {

std::filesystem::path MakeTemporaryFile() {
  std::string name = (std::filesystem::temp_directory_path() / "console-XXXXXX").string();
  const int file = mkstemp(name.data());
  if (file < 0) throw std::runtime_error("no temporary file for the console's text");
  close(file);
  return name;
}

void ReplaceInput(int descriptor) {
  dup2(descriptor, STDIN_FILENO);
  close(descriptor);
}

}  // namespace

ConsoleCapture::ConsoleCapture() : file_(MakeTemporaryFile()) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  std::fflush(stdout);
  savedOutput_ = dup(STDOUT_FILENO);
  // Reopening also lets the stream forget whether it was used for narrow or for wide text.
  if (std::freopen(file_.c_str(), "w", stdout) == nullptr) {
    throw std::runtime_error("can't divert standard output");
  }
}

ConsoleCapture::~ConsoleCapture() {
  std::fflush(stdout);
  const std::string saved = "/dev/fd/" + std::to_string(savedOutput_);
  (void)std::freopen(saved.c_str(), "a", stdout);
  dup2(savedOutput_, STDOUT_FILENO);
  close(savedOutput_);
  std::filesystem::remove(file_);
}

std::wstring ConsoleCapture::Text() const {
  std::fflush(stdout);
  return Utf8ToWide(Lab::FileBytes(file_));
}

PipedInput::PipedInput(const std::string& text) : savedInput_(dup(STDIN_FILENO)) {
  int ends[2];
  if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) < 0) {
    throw std::runtime_error("can't pipe text to standard input");
  }
  close(ends[1]);
  ReplaceInput(ends[0]);
}

PipedInput::~PipedInput() { ReplaceInput(savedInput_); }

TerminalInput::TerminalInput() : savedInput_(dup(STDIN_FILENO)) {
  int slave = -1;
  if (openpty(&master_, &slave, nullptr, nullptr, nullptr) != 0) {
    throw std::runtime_error("no terminal to be had");
  }
  ReplaceInput(slave);
}

TerminalInput::~TerminalInput() {
  ReplaceInput(savedInput_);
  close(master_);
}

void TerminalInput::Type(const std::string& text) {
  if (write(master_, text.data(), text.size()) < 0) throw std::runtime_error("can't type");
}

}  // namespace Halvard::Testing
