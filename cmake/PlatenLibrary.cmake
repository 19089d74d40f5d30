# The objects, made once; the shared and the static library from them.
# The library folders add their sources to platen-objects and their headers with platen_public_headers.

add_library(platen-objects OBJECT)
# The compilers turn malloc and memset into calloc otherwise: hosts and tests that stand between the library and malloc
# would miss those blocks.
target_compile_options(platen-objects PRIVATE -fno-builtin-malloc)
target_include_directories(platen-objects PUBLIC ${PROJECT_SOURCE_DIR})
platen_compile_options(platen-objects)
target_compile_definitions(platen-objects PUBLIC $<$<PLATFORM_ID:Windows>:PLATEN_BUILD>)

# Platforms without shared libraries (WebAssembly) get the static one alone.
get_property(PLATEN_SHARED GLOBAL PROPERTY TARGET_SUPPORTS_SHARED_LIBS)

set(PLATEN_EXPORT_MAP ${PROJECT_SOURCE_DIR}/packaging/platen.map)

# A shared library's name and what it exports. On Windows NAME.dll is lib<name>-<major>.dll, as MinGW has it, and its
# import library lib<name>.dll.a.
function(platen_shared_library library map)
  set_target_properties(${library} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(WIN32)
    set_target_properties(${library} PROPERTIES RUNTIME_OUTPUT_NAME ${library}-${PROJECT_VERSION_MAJOR})
    # PLATEN_API marks what hosts import; the list names what it can't reach too, the instances of members.
    string(REGEX REPLACE "map$" "def" definitions ${map})
    target_sources(${library} PRIVATE ${definitions})
    return()
  endif()
  set_target_properties(${library} PROPERTIES LINK_DEPENDS ${map})
  target_link_options(${library} PRIVATE -Wl,-Bsymbolic-functions -Wl,--version-script=${map})
  if(NOT PLATEN_SANITIZE AND NOT PLATEN_LIBFUZZER)
    target_link_options(${library} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

# A static library. Windows' objects ask the linker to export their names, from a host's own DLL too: that goes, and hosts
# define PLATEN_STATIC.
function(platen_static_library library)
  if(WIN32)
    target_compile_definitions(${library} INTERFACE PLATEN_STATIC)
    add_custom_command(TARGET ${library} POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} --remove-section=.drectve $<TARGET_FILE:${library}>)
  endif()
endfunction()

set(PLATEN_LIBRARIES platen-static)
if(PLATEN_SHARED)
  list(PREPEND PLATEN_LIBRARIES platen)
  add_library(platen SHARED $<TARGET_OBJECTS:platen-objects>)
  add_library(platen::platen ALIAS platen)
  platen_shared_library(platen ${PLATEN_EXPORT_MAP})
endif()

add_library(platen-static STATIC $<TARGET_OBJECTS:platen-objects>)
add_library(platen::platen-static ALIAS platen-static)
set_target_properties(platen-static PROPERTIES OUTPUT_NAME platen)
platen_static_library(platen-static)

foreach(library ${PLATEN_LIBRARIES})
  target_compile_features(${library} INTERFACE cxx_std_20)
  set_target_properties(${library} PROPERTIES LINKER_LANGUAGE CXX)
endforeach()

# Headers that are installed, with their folders, below include/platen.
function(platen_public_headers)
  foreach(library ${PLATEN_LIBRARIES})
    target_sources(${library} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARGN})
  endforeach()
endfunction()

# The C++20 interface: headers only, over what the library exports.
foreach(library ${PLATEN_LIBRARIES})
  target_sources(${library} PUBLIC FILE_SET cpp TYPE HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/cpp FILES
    ${PROJECT_SOURCE_DIR}/cpp/platen.hpp
    ${PROJECT_SOURCE_DIR}/cpp/platen-cpp/Filters.hpp
    ${PROJECT_SOURCE_DIR}/cpp/platen-cpp/Lines.hpp
    ${PROJECT_SOURCE_DIR}/cpp/platen-cpp/Scaler.hpp
    ${PROJECT_SOURCE_DIR}/cpp/platen-cpp/Status.hpp
    ${PROJECT_SOURCE_DIR}/cpp/platen-cpp/Tone.hpp)
endforeach()
