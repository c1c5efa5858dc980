set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# The posix thread model: the other one has no std::thread.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The oldest Windows that the product runs on. Here, so that the libraries agree with what links them:
# the version is part of names in Boost.Log.
set(CMAKE_C_FLAGS_INIT -D_WIN32_WINNT=0x0601)
set(CMAKE_CXX_FLAGS_INIT -D_WIN32_WINNT=0x0601)
# One file runs anywhere: the compiler's own libraries are linked in as well.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
