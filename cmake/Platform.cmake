# The one place that knows the platform: system libraries there, the lab here.
add_library(halvard_platform INTERFACE)
if(WIN32)
  # For every source alike: test programs share a precompiled header.
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX SECURITY_WIN32)
  # Asio takes POSIX threads if <pthread.h> comes before it and those of Windows otherwise. A program
  # of both kinds of sources starts the timer thread of a service as one kind and joins it as the
  # other, which doesn't wait: the thread goes on writing to the service that has been freed.
  add_compile_definitions(BOOST_ASIO_HAS_PTHREADS)
  target_link_libraries(halvard_platform INTERFACE
    authz crypt32 dnsapi iphlpapi msi netapi32 ole32 oleaut32 secur32 shell32 shlwapi user32 userenv uuid version
    wldap32 ws2_32)
else()
  target_link_libraries(halvard_platform INTERFACE halvard_lab)
endif()
