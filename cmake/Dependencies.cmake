# Libraries that both builds link. The Windows build finds its own in the cache that
# cmake/setup/build-windows-dependencies fills; its preset sets CMAKE_PREFIX_PATH.
set(Boost_NO_WARN_NEW_VERSIONS ON)
if(WIN32)
  set(Boost_USE_STATIC_LIBS ON)
  set(OPENSSL_USE_STATIC_LIBS ON)
else()
  set(Boost_USE_MULTITHREADED ON)
endif()
find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED
             COMPONENTS program_options log iostreams date_time system thread filesystem)
find_package(OpenSSL 3.0 REQUIRED)
find_package(jsoncpp REQUIRED)
find_package(RapidJSON QUIET)
