# Sources of tests and lab are small, and each costs the compiler half a second before its first line:
# what the precompiled headers leave open is done anew. Several are compiled as one therefore, so no two
# of a target may have a name in common, not even in unnamed namespaces. Not those of the product: no
# name of one can come to mean another's there. CMake's own unity builds name their sources by whole
# paths, which the compiler's cache doesn't find again in another checkout.
option(HALVARD_JOIN_SOURCES "Compile sources of tests and lab several at a time" OFF)
set(HALVARD_JOINED_AT_ONCE 12)

# halvard_join_sources(TARGET): all but sources with definitions of their own and those that are told to
# stay alone, by the property that CMake has for that.
function(halvard_join_sources target)
  get_target_property(folder ${target} SOURCE_DIR)
  get_target_property(sources ${target} SOURCES)
  set(remaining)
  set(included)
  foreach(source IN LISTS sources)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder})
    get_source_file_property(definitions ${source} DIRECTORY ${folder} COMPILE_DEFINITIONS)
    get_source_file_property(alone ${source} DIRECTORY ${folder} SKIP_UNITY_BUILD_INCLUSION)
    string(FIND ${source} ${CMAKE_BINARY_DIR}/ generated)
    if(definitions OR alone OR generated EQUAL 0 OR NOT source MATCHES "\\.cpp$")
      list(APPEND remaining ${source})
    else()
      cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${CMAKE_SOURCE_DIR})
      list(APPEND included ${source})
    endif()
  endforeach()
  list(LENGTH included count)
  if(count LESS 2)
    return()
  endif()
  set(number 0)
  while(included)
    list(SUBLIST included 0 ${HALVARD_JOINED_AT_ONCE} batch)
    list(REMOVE_ITEM included ${batch})
    list(TRANSFORM batch REPLACE "(.+)" "#include \"\\1\"")
    list(JOIN batch "\n" text)
    set(joined ${CMAKE_BINARY_DIR}/joined/${target}_${number}.cpp)
    file(CONFIGURE OUTPUT ${joined} CONTENT "${text}\n")
    # g++ takes a source that another includes for a header.
    set_source_files_properties(${joined} TARGET_DIRECTORY ${target} PROPERTIES
                                COMPILE_OPTIONS $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    list(APPEND remaining ${joined})
    math(EXPR number "${number} + 1")
  endwhile()
  set_target_properties(${target} PROPERTIES SOURCES "${remaining}")
  target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR})
endfunction()

# halvard_join_sources_below(FOLDER...): of every target there.
function(halvard_join_sources_below)
  foreach(folder IN LISTS ARGN)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
      get_target_property(type ${target} TYPE)
      if(type MATCHES "^(STATIC_LIBRARY|OBJECT_LIBRARY|EXECUTABLE)$")
        halvard_join_sources(${target})
      endif()
    endforeach()
    get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    halvard_join_sources_below(${folders})
  endforeach()
endfunction()
