# The one place that knows the platform: system libraries there, the lab here.
add_library(halvard_platform INTERFACE)
if(WIN32)
  # For every source alike: test programs share a precompiled header.
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX SECURITY_WIN32)
  target_link_libraries(halvard_platform INTERFACE
    crypt32 iphlpapi msi netapi32 ole32 secur32 shell32 shlwapi user32 userenv uuid version wldap32 ws2_32)
else()
  target_link_libraries(halvard_platform INTERFACE halvard_lab)
endif()
