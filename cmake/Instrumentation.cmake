# Sanitizers, coverage and fuzzing are whole-build switches, one preset each.
set(HALVARD_SANITIZE "" CACHE STRING "Sanitizers for the whole build, as for -fsanitize=")
option(HALVARD_COVERAGE "Count executed lines for gcovr" OFF)
option(HALVARD_FUZZ "Build the fuzz targets with libFuzzer (needs clang)" OFF)
set(HALVARD_FUZZ_SECONDS 60 CACHE STRING "How long a test of the fuzz preset runs its target")

if(HALVARD_SANITIZE)
  add_compile_options(-fsanitize=${HALVARD_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  if(HALVARD_SANITIZE MATCHES undefined)
    # To look at an object's type it opens a pipe, which a test of a process without descriptors can't
    # give it.
    add_compile_options(-fno-sanitize=vptr)
  endif()
  # The sanitizer's library has functions of the name of many others, which it calls in turn: those
  # are needed, although the linker finds nothing missing.
  add_link_options(-fsanitize=${HALVARD_SANITIZE} LINKER:--no-as-needed)
  if(HALVARD_SANITIZE MATCHES thread)
    # The thread sanitizer knows no fences; Asio's own are redundant beside its locks.
    add_compile_definitions(BOOST_ASIO_DISABLE_FENCED_BLOCK)
  endif()
endif()
if(HALVARD_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
if(HALVARD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
