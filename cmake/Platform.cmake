# The one place that knows the platform: system libraries there, the lab here.
add_library(halvard_platform INTERFACE)
if(WIN32)
  # For every source alike: test programs share a precompiled header.
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX SECURITY_WIN32)
  # Asio takes POSIX threads if <pthread.h> comes before it and those of Windows otherwise. A program
  # of both kinds of sources starts the timer thread of a service as one kind and joins it as the
  # other, which doesn't wait: the thread goes on writing to the service that has been freed.
  add_compile_definitions(BOOST_ASIO_HAS_PTHREADS)
  # What the system is told of every program: to load it on nothing older than it was made for, to give
  # it addresses that can't be guessed, and to run no code out of its data. Without a time in it, the
  # same sources make the same bytes.
  add_link_options(
    -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp
    -Wl,--major-os-version,6,--minor-os-version,1
    -Wl,--major-subsystem-version,6,--minor-subsystem-version,1)
  target_link_libraries(halvard_platform INTERFACE
    authz crypt32 dnsapi iphlpapi msi netapi32 ole32 oleaut32 secur32 shell32 shlwapi user32 userenv uuid version
    wldap32 ws2_32)
else()
  target_link_libraries(halvard_platform INTERFACE halvard_lab)
endif()

# With room to work in, the compiler clears up less often, which is a tenth of its time.
add_compile_options("$<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1000000>")
