# The objects, made once; the shared and the static library from them.
# The library folders add their sources to platen-objects and their headers with platen_public_headers.

add_library(platen-objects OBJECT)
# The compilers turn malloc and memset into calloc otherwise: hosts and tests that stand between the library and malloc
# would miss those blocks.
target_compile_options(platen-objects PRIVATE -fno-builtin-malloc)
target_include_directories(platen-objects PUBLIC ${PROJECT_SOURCE_DIR})
platen_compile_options(platen-objects)

# Platforms without shared libraries (WebAssembly) get the static one alone.
get_property(PLATEN_SHARED GLOBAL PROPERTY TARGET_SUPPORTS_SHARED_LIBS)

set(PLATEN_EXPORT_MAP ${PROJECT_SOURCE_DIR}/packaging/platen.map)

set(PLATEN_LIBRARIES platen-static)
if(PLATEN_SHARED)
  list(PREPEND PLATEN_LIBRARIES platen)
  add_library(platen SHARED $<TARGET_OBJECTS:platen-objects>)
  add_library(platen::platen ALIAS platen)
  set_target_properties(platen PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${PLATEN_EXPORT_MAP})
  target_link_options(platen PRIVATE -Wl,-Bsymbolic-functions -Wl,--version-script=${PLATEN_EXPORT_MAP})
  if(NOT PLATEN_SANITIZE AND NOT PLATEN_LIBFUZZER)
    target_link_options(platen PRIVATE -Wl,--no-undefined)
  endif()
endif()

add_library(platen-static STATIC $<TARGET_OBJECTS:platen-objects>)
add_library(platen::platen-static ALIAS platen-static)
set_target_properties(platen-static PROPERTIES OUTPUT_NAME platen)

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
