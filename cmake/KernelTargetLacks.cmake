# platen_target_lacks(ROOT TARGET FAMILIES RESULT): what the tree at ROOT lacks for a kernel target, one thing an
# element; empty where nothing is missing. FAMILIES are the beginnings of the families' files, from ROOT. Used by the
# build and by the test kernels/targets.
function(platen_target_lacks root target families result)
  set(lacks "")
  if(NOT target STREQUAL "baseline" AND NOT EXISTS ${root}/Sources/Dispatch/Lanes_${target}.inc)
    list(APPEND lacks "Sources/Dispatch/Lanes_${target}.inc, its vector operations")
  endif()
  foreach(family ${families})
    if(NOT EXISTS ${root}/${family}_${target}.cpp)
      list(APPEND lacks "${family}_${target}.cpp, its kernels of that family")
    endif()
  endforeach()
  file(READ ${root}/Sources/Dispatch/Kernels.cpp dispatch)
  if(NOT dispatch MATCHES "bool Runs_${target}\\(")
    list(APPEND lacks "bool Runs_${target}() in Sources/Dispatch/Kernels.cpp: whether this processor has it")
  endif()
  set(${result} "${lacks}" PARENT_SCOPE)
endfunction()
