cmake_minimum_required(VERSION 3.22)
# Fails when an object built for an instruction set beyond SSE2 defines a weak or unique symbol: an
# inline function or template compiled there, which the linker may pick for every caller, so that a
# processor without that instruction set would run it. Such files must keep their helpers local.
# Run with -DOBJECTS=<object files joined by |> -DNM=<nm>.
string(REPLACE "|" ";" objects "${OBJECTS}")
list(FILTER objects INCLUDE REGEX "_(ssse3|sse41|avx2|avx512)\\.cpp\\.o(bj)?$")
list(LENGTH objects count)
if(count EQUAL 0)
  message(FATAL_ERROR "no object built for an instruction set among: ${OBJECTS}")
endif()
foreach(object IN LISTS objects)
  execute_process(COMMAND ${NM} -C ${object} OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${NM} could not read ${object}")
  endif()
  string(REGEX MATCHALL "[^\n]* [WVu] [^\n]*" shared "${symbols}")
  if(shared)
    message(FATAL_ERROR "${object} defines symbols other files may use: ${shared}")
  endif()
endforeach()
message(STATUS "${count} objects built for an instruction set keep their code to themselves")
