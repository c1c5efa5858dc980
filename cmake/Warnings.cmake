# Every target of ours links this privately, in both builds.
add_library(halvard_warnings INTERFACE)
target_compile_options(halvard_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 sees overlapping copies in any "text" + std::string (its bug 105651, mended in 13), and
  # with precompiled headers copies of negative sizes in the same places.
  target_compile_options(halvard_warnings INTERFACE
    -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
endif()
if(HALVARD_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # The sanitizers' own code hides from the compiler what a variable was given before.
  target_compile_options(halvard_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # clang's -Wconversion has signs in it; g++'s hasn't.
  target_compile_options(halvard_warnings INTERFACE -Wno-sign-conversion)
endif()
