# Libraries that both builds link. What Debian doesn't package for a build is in the cache that
# cmake/setup/build-dependencies fills, for the Windows build that is all of them.
set(HALVARD_DEPENDENCY_SCRIPT ${CMAKE_SOURCE_DIR}/cmake/setup/build-dependencies)
file(GLOB HALVARD_DEPENDENCY_PATCHES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/setup/patches/*.patch)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${HALVARD_DEPENDENCY_SCRIPT} ${HALVARD_DEPENDENCY_PATCHES})
if(WIN32)
  set(HALVARD_DEPENDENCY_TARGET windows)
else()
  set(HALVARD_DEPENDENCY_TARGET native)
endif()
execute_process(
  COMMAND ${HALVARD_DEPENDENCY_SCRIPT} --prefix ${HALVARD_DEPENDENCY_TARGET}
  OUTPUT_VARIABLE HALVARD_DEPENDENCY_PREFIX OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
if(NOT EXISTS ${HALVARD_DEPENDENCY_PREFIX}/complete)
  message(FATAL_ERROR "Libraries of the ${HALVARD_DEPENDENCY_TARGET} build are missing. "
                      "Run: cmake/setup/build-dependencies ${HALVARD_DEPENDENCY_TARGET}")
endif()
# After a change of that script, what was found under the former folder is looked for anew.
if(DEFINED HALVARD_FORMER_PREFIX AND NOT HALVARD_FORMER_PREFIX STREQUAL HALVARD_DEPENDENCY_PREFIX)
  get_cmake_property(names CACHE_VARIABLES)
  foreach(name IN LISTS names)
    string(FIND "${${name}}" "${HALVARD_FORMER_PREFIX}/" position)
    if(NOT position EQUAL -1)
      unset(${name} CACHE)
    endif()
  endforeach()
endif()
set(HALVARD_FORMER_PREFIX ${HALVARD_DEPENDENCY_PREFIX} CACHE INTERNAL "Where libraries were found")
list(PREPEND CMAKE_PREFIX_PATH ${HALVARD_DEPENDENCY_PREFIX})
list(PREPEND CMAKE_FIND_ROOT_PATH ${HALVARD_DEPENDENCY_PREFIX})

set(Boost_NO_WARN_NEW_VERSIONS ON)
if(WIN32)
  set(Boost_USE_STATIC_LIBS ON)
  # CMake's module links these with a static Boost.Log. Regex has become headers, and nobody here
  # sets up a log by a settings file.
  add_library(Boost::regex INTERFACE IMPORTED)
  add_library(Boost::log_setup INTERFACE IMPORTED)
  set(OPENSSL_USE_STATIC_LIBS ON)
  # CMake's module doesn't look for these names in a cross build.
  set(OPENSSL_ROOT_DIR ${HALVARD_DEPENDENCY_PREFIX})
  set(OPENSSL_CRYPTO_LIBRARY ${HALVARD_DEPENDENCY_PREFIX}/lib/libcrypto.a)
  set(OPENSSL_SSL_LIBRARY ${HALVARD_DEPENDENCY_PREFIX}/lib/libssl.a)
else()
  set(Boost_USE_MULTITHREADED ON)
endif()
find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED
             COMPONENTS program_options log iostreams date_time thread filesystem)
find_package(OpenSSL 3.0 REQUIRED)
if(NOT WIN32)
  # What of Asio and Beast isn't a template is compiled once, not with each source that includes them.
  # Not in the Windows build, whose static Boost.Log may bring a second copy: untried.
  add_library(halvard_asio STATIC ${CMAKE_SOURCE_DIR}/cmake/asio.cpp)
  set(separate BOOST_ASIO_SEPARATE_COMPILATION BOOST_BEAST_SEPARATE_COMPILATION)
  target_compile_definitions(halvard_asio PRIVATE ${separate})
  target_include_directories(halvard_asio SYSTEM PRIVATE ${Boost_INCLUDE_DIRS})
  target_link_libraries(halvard_asio PUBLIC OpenSSL::SSL Threads::Threads PRIVATE halvard_warnings)
  target_compile_definitions(Boost::headers INTERFACE ${separate})
  target_link_libraries(Boost::headers INTERFACE halvard_asio)
endif()
if(WIN32)
  # A static libcrypto leaves the system libraries under it to whoever links it. Asio, which never
  # comes without OpenSSL here, wants the two of the sockets as well.
  target_link_libraries(OpenSSL::Crypto INTERFACE ws2_32 mswsock crypt32 bcrypt)
endif()
find_package(jsoncpp REQUIRED)
find_package(pugixml 1.13 REQUIRED)
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/reader.h REQUIRED)
# Its own package file wants a zlib that it doesn't link.
add_library(libssh2 STATIC IMPORTED)
set_target_properties(libssh2 PROPERTIES
  IMPORTED_LOCATION ${HALVARD_DEPENDENCY_PREFIX}/lib/libssh2.a
  INTERFACE_INCLUDE_DIRECTORIES ${HALVARD_DEPENDENCY_PREFIX}/include
  INTERFACE_LINK_LIBRARIES OpenSSL::Crypto)
if(NOT WIN32)
  add_library(valijson INTERFACE IMPORTED)
  target_include_directories(valijson INTERFACE ${HALVARD_DEPENDENCY_PREFIX}/include)
endif()
