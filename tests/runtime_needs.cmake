# The daemon needs the C library and its loader, and imports nothing that allocates.
execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${readelf} -d ${daemon} OUTPUT_VARIABLE dynamic)
string(REGEX MATCHALL "NEEDED[^\n]*" needed "${dynamic}")
if(NOT needed)
  message(FATAL_ERROR "${daemon} is not dynamically linked")
endif()
foreach(line IN LISTS needed)
  if(NOT line MATCHES "\\[(libc\\.|ld-)")
    message(SEND_ERROR "more than the C library: ${line}")
  endif()
endforeach()

execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${nm} -D -C --undefined-only ${daemon}
  OUTPUT_VARIABLE imports)
string(REGEX MATCHALL "[^\n]* ((m|c|re)alloc|reallocarray|free|strn?dup|v?asprintf|operator (new|delete)|__cxa_throw)[^\n]*" heap "${imports}")
if(heap)
  message(SEND_ERROR "the heap or exceptions are used: ${heap}")
endif()
