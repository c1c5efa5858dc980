// What the agent's start is compared with: a program with the agent's libraries that prompts at
// once.
#include <cstdio>

int main() {
  std::fputs("password: ", stdout);
  std::fflush(stdout);
  return std::getchar() == EOF ? 0 : 1;
}
