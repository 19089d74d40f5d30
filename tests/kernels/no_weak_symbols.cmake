# An inline function that was built for one processor family must never serve another one's callers, which the
# linker would let happen with weak symbols. So the objects of the per-target files define none.
#
#   cmake -DNM=nm -DOBJECTS=a.o|b.o -DTARGETS=baseline|... -P no_weak_symbols.cmake

string(REPLACE "|" ";" objects "${OBJECTS}")
string(REPLACE "|" ";" targets "${TARGETS}")
foreach(target ${targets})
  set(checked 0)
  foreach(object ${objects})
    if(object MATCHES "_${target}\\.cpp\\.o(bj)?$")
      execute_process(COMMAND ${NM} --defined-only ${object} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
      if(symbols MATCHES " [WwVvu] [^\n]*")
        message(SEND_ERROR "${object} defines a weak symbol:${CMAKE_MATCH_0}")
      endif()
      math(EXPR checked "${checked} + 1")
    endif()
  endforeach()
  message("${target}: ${checked} objects checked")
  if(checked EQUAL 0)
    message(SEND_ERROR "No object of the target ${target} was found.")
  endif()
endforeach()
