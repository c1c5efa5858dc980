# Reading the same headers again is most of a compiler's work, so the sources of a kind find them
# compiled before. A source includes all that it uses nevertheless: the presets lint and fuzz compile
# it without.
set(HALVARD_STANDARD_HEADERS
  <algorithm> <array> <atomic> <cerrno> <charconv> <chrono> <condition_variable> <cstddef> <cstdint>
  <cstdio> <cstdlib> <cstring> <cwchar> <deque> <exception> <filesystem> <fstream> <functional>
  <iterator> <limits> <map> <memory> <mutex> <new> <optional> <set> <sstream> <stdexcept> <string>
  <string_view> <system_error> <thread> <tuple> <utility> <variant> <vector>)
set(HALVARD_NETWORK_HEADERS
  <boost/asio/dispatch.hpp> <boost/asio/io_context.hpp> <boost/asio/ip/tcp.hpp>
  <boost/asio/post.hpp> <boost/asio/read.hpp> <boost/asio/ssl.hpp> <boost/asio/steady_timer.hpp>
  <boost/asio/write.hpp> <boost/beast/http/error.hpp> <boost/beast/http/parser.hpp>
  <boost/beast/http/read.hpp> <boost/beast/http/string_body.hpp>)

# halvard_add_headers(KIND HEADERS ... [LIBS ...] [OPTIONS ...]): headers for targets of that kind,
# which are compiled with the same options.
function(halvard_add_headers kind)
  cmake_parse_arguments(KIND "" "" "HEADERS;LIBS;OPTIONS" ${ARGN})
  set(target halvard_${kind}_headers)
  add_library(${target} OBJECT ${CMAKE_SOURCE_DIR}/cmake/headers.cpp)
  target_compile_options(${target} PRIVATE ${KIND_OPTIONS})
  target_link_libraries(${target} PRIVATE ${KIND_LIBS} halvard_warnings)
  target_precompile_headers(${target} PRIVATE ${KIND_HEADERS})
endfunction()

# halvard_use_headers(KIND TARGET...)
function(halvard_use_headers kind)
  if(TARGET halvard_${kind}_headers)
    foreach(target IN LISTS ARGN)
      target_precompile_headers(${target} REUSE_FROM halvard_${kind}_headers)
    endforeach()
  endif()
endfunction()

# halvard_use_headers_below(KIND FOLDER...): for every target there that has no kind yet.
function(halvard_use_headers_below wanted)
  foreach(folder IN LISTS ARGN)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
      get_target_property(type ${target} TYPE)
      get_target_property(kind ${target} PRECOMPILE_HEADERS_REUSE_FROM)
      if(NOT kind AND type MATCHES "^(STATIC_LIBRARY|OBJECT_LIBRARY|EXECUTABLE)$")
        halvard_use_headers(${wanted} ${target})
      endif()
    endforeach()
    get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    halvard_use_headers_below(${wanted} ${folders})
  endforeach()
endfunction()

halvard_add_headers(standard HEADERS ${HALVARD_STANDARD_HEADERS})
halvard_add_headers(network HEADERS ${HALVARD_STANDARD_HEADERS} ${HALVARD_NETWORK_HEADERS}
                    LIBS Boost::headers OpenSSL::SSL)
if(WIN32)
  # The lab's are a few short ones.
  halvard_add_headers(agent HEADERS ${HALVARD_STANDARD_HEADERS} <host/windows_api.h>)
  target_include_directories(halvard_agent_headers PRIVATE ${CMAKE_SOURCE_DIR}/src)
endif()
