# Configures the project on PLATFORM, a library that implements src/platform/*.h, builds the daemon,
# and looks for traces of the layer for plain Linux.
file(REMOVE_RECURSE ${build})
execute_process(COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET COMMAND ${CMAKE_COMMAND}
  -S ${source} -B ${build} -G ${generator}
  -D CMAKE_CXX_COMPILER=${compiler} -D CMAKE_CXX_FLAGS=${flags}
  -D "UPLINKD_PLATFORM_LIBRARIES=${platform}$<SEMICOLON>stdc++" -D BUILD_TESTING=OFF)
execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_COMMAND}
  --build ${build} --target uplinkd)

file(GLOB_RECURSE host_objects ${build}/*platform/host*)
if(host_objects)
  message(FATAL_ERROR "the layer for plain Linux was built: ${host_objects}")
endif()
execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${nm} -C ${build}/bin/uplinkd
  OUTPUT_VARIABLE symbols)
if(NOT symbols MATCHES " T get_devinfo_value_by_id\n" OR NOT symbols MATCHES "memory::items")
  message(FATAL_ERROR "the daemon does not use the platform that it was given")
endif()
