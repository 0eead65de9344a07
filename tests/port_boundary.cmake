# A port as docs/porting.md describes it. The headers are usable from C and C++, each alone; the daemon
# and the tools for scripts build on the skeleton in C, as a static and (the daemon) as a shared library, and
# on a static library in C++; nothing of the layer for plain Linux is built, and no test framework needed.
function(run)
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${ARGN})
endfunction()

file(GLOB headers RELATIVE ${source}/src ${source}/src/platform/*.h)
list(REMOVE_ITEM headers platform/mutex.h)
foreach(header IN LISTS headers)
  foreach(language "c;${c_compiler};-std=c11" "c++;${compiler};-std=c++20")
    list(POP_FRONT language name)
    run(${language} -x ${name} -fsyntax-only -Wall -Wextra -Wpedantic -Werror
      -I ${source}/src -include ${header} /dev/null)
  endforeach()
endforeach()

file(REMOVE_RECURSE ${build})
function(configure result libraries)
  execute_process(OUTPUT_QUIET ERROR_VARIABLE error RESULT_VARIABLE status COMMAND ${CMAKE_COMMAND}
    -S ${source} -B ${build} -G ${generator}
    -D CMAKE_TOOLCHAIN_FILE=${toolchain}
    -D CMAKE_CXX_COMPILER=${compiler} -D CMAKE_CXX_FLAGS=${flags}
    -D CMAKE_DISABLE_FIND_PACKAGE_GTest=ON -D UPLINKD_TOOLS=ON
    -D "UPLINKD_PLATFORM_LIBRARIES=${libraries}")
  set(${result} "${status} ${error}" PARENT_SCOPE)
endfunction()

foreach(missing /nowhere/liba.a nosuchlibrary lib/libb.so)
  configure(result ${missing})
  if(NOT result MATCHES "^1 .*UPLINKD_PLATFORM_LIBRARIES: (there is no file|the linker finds no)")
    message(FATAL_ERROR "configured with ${missing}: ${result}")
  endif()
endforeach()

# The daemon holds the function itself, or needs it of a shared library. Where the compiler has no C++
# runtime library for the C library, there is no layer that needs one (`memory` is empty).
foreach(kind memory static shared)
  if(NOT ${kind})
    continue()
  endif()
  configure(result ${${kind}})
  if(NOT result MATCHES "^0")
    message(FATAL_ERROR "${kind}: ${result}")
  endif()
  set(tools)
  if(kind STREQUAL static)
    set(tools devinfo sockmsg_send addr_format)
  endif()
  run(${CMAKE_COMMAND} --build ${build} --target uplinkd ${tools})
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${nm} ${build}/bin/uplinkd
    OUTPUT_VARIABLE symbols)
  if(NOT symbols MATCHES " [TU] get_devinfo_value_by_id\n")
    message(FATAL_ERROR "the daemon does not use the platform that it was given (${kind})")
  endif()
endforeach()

file(GLOB_RECURSE host_objects ${build}/*platform/host*)
if(host_objects)
  message(FATAL_ERROR "the layer for plain Linux was built: ${host_objects}")
endif()
