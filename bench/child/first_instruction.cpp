// A child that says when it began: first_instruction FILE [SECONDS]. Writes the monotonic clock in
// nanoseconds to the file, and stays for so long.
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  if (argc < 2) return 2;
  std::FILE* const file = std::fopen(argv[1], "w");
  if (file == nullptr) return 1;
  std::fprintf(file, "%lld\n", now.tv_sec * 1'000'000'000LL + now.tv_nsec);
  std::fclose(file);
  if (argc > 2) sleep(static_cast<unsigned>(std::atoi(argv[2])));
  return 0;
}
