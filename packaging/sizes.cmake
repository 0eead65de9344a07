# Prints what each program takes on a router: its size without symbols.
#   cmake -D programs=PATH|PATH... -D strip=STRIP -P sizes.cmake
string(REPLACE "|" ";" programs "${programs}")
foreach(program IN LISTS programs)
  execute_process(COMMAND ${strip} -s -o ${program}.stripped ${program} COMMAND_ERROR_IS_FATAL ANY)
  file(SIZE ${program}.stripped size)
  file(REMOVE ${program}.stripped)
  get_filename_component(name ${program} NAME)
  message(STATUS "${name}: ${size} bytes stripped")
endforeach()
