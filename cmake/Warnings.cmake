# Every target of ours links this privately, in both builds.
add_library(halvard_warnings INTERFACE)
target_compile_options(halvard_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
