#include <pty.h>
#include <unistd.h>

#include <array>
#include <iostream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "host.h"

namespace Hvctl {
namespace {

/// A terminal in the place of standard input, and a pipe in that of standard error, on which a
/// prompt can be awaited.
class Terminal {
 public:
  Terminal() : savedInput_(dup(STDIN_FILENO)), savedError_(dup(STDERR_FILENO)) {
    int slave = -1;
    EXPECT_EQ(openpty(&master_, &slave, nullptr, nullptr, nullptr), 0);
    dup2(slave, STDIN_FILENO);
    close(slave);
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    errors_ = ends[0];
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    std::cin.clear();
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    dup2(savedInput_, STDIN_FILENO);
    dup2(savedError_, STDERR_FILENO);
    for (const int descriptor : {savedInput_, savedError_, master_, errors_}) close(descriptor);
    std::cin.clear();
  }

  void TypeAfter(const std::string& prompt, const std::string& text) const {
    std::string shown;
    char next = 0;
    while (!shown.ends_with(prompt) && read(errors_, &next, 1) == 1) shown += next;
    EXPECT_EQ(write(master_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  /// What the terminal shows of what was typed so far. Something must be there.
  std::string Shown() const {
    std::array<char, 256> bytes{};
    const ssize_t count = read(master_, bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

 private:
  int savedInput_;
  int savedError_;
  int master_ = -1;
  int errors_ = -1;
};

TEST(AskHidden, ReadsALineThatTheTerminalDoesNotShow) {
  const Terminal terminal;
  std::thread person([&] { terminal.TypeAfter("Password: ", "se cr\u00e9t\n"); });
  const std::string line = AskHidden("Password: ");
  person.join();
  EXPECT_EQ(line, "se cr\u00e9t");
  // From here on the echo is on again, and nothing of the line comes before it.
  EXPECT_EQ(write(STDIN_FILENO, "x", 1), 1);
  EXPECT_EQ(terminal.Shown(), "x");
}

}  // namespace
}  // namespace Hvctl
