# The layers of programs/: a folder's files include only what is in their own folder and in those before it in the
# list. A header that has a source next to it is that source's first include; a header without one is in the list of
# those that need none.
#
#   cmake -D PROGRAMS=programs -P includes.cmake

cmake_minimum_required(VERSION 3.25)

set(layers base io options threads page scan commands)
# Interfaces, plain records, templates, inline functions.
set(without_source base/Compression.h base/Description.h base/Error.h base/ImageInfo.h io/CodecGuard.h io/LineCount.h io/LineReader.h io/LineWriter.h options/Toml.h
  page/AlphaPlane.h page/Stage.h)
# The scan command has a second source, for builds without SANE.
set(without_header commands/NoScanCommand.cpp main.cpp)

set(faults 0)
macro(fault text)
  message("${text}")
  math(EXPR faults "${faults} + 1")
endmacro()

file(GLOB_RECURSE files RELATIVE ${PROGRAMS} ${PROGRAMS}/*.h ${PROGRAMS}/*.cpp)
list(LENGTH files count)
foreach(file ${files})
  get_filename_component(folder ${file} DIRECTORY)
  list(FIND layers "${folder}" rank)
  if(rank EQUAL -1 AND NOT file STREQUAL "main.cpp")
    fault("${file}: is in none of the layers")
  endif()

  file(STRINGS ${PROGRAMS}/${file} lines REGEX "^#include [<\"]")
  set(first "")
  foreach(line ${lines})
    if(line MATCHES "^#include \"programs/(([a-z]+)/[^\"]*)\"")
      set(included ${CMAKE_MATCH_1})
      list(FIND layers ${CMAKE_MATCH_2} included_rank)
      if(NOT file STREQUAL "main.cpp" AND included_rank GREATER rank)
        fault("${file}: includes ${included}, which is in a layer above")
      endif()
    endif()
    if(first STREQUAL "")
      set(first ${line})
    endif()
  endforeach()

  if(file MATCHES "\\.cpp$" AND NOT file IN_LIST without_header)
    string(REGEX REPLACE "\\.cpp$" ".h" header ${file})
    if(NOT EXISTS ${PROGRAMS}/${header})
      fault("${file}: has no header of its name")
    elseif(NOT first STREQUAL "#include \"programs/${header}\"")
      fault("${file}: its own header is not its first include")
    endif()
  elseif(file MATCHES "\\.h$" AND NOT file IN_LIST without_source)
    string(REGEX REPLACE "\\.h$" ".cpp" source ${file})
    if(NOT EXISTS ${PROGRAMS}/${source})
      fault("${file}: has no source of its name")
    endif()
  endif()
endforeach()

if(faults GREATER 0 OR count EQUAL 0)
  message(FATAL_ERROR "${faults} faults in ${count} files")
endif()
message("${count} files, each include runs down")
