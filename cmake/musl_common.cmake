# What the musl builds share: Debian's g++ for glibc, its libstdc++ headers before those of musl-dev, whose
# start files, C library and loader are linked. The including file names the compiler's PREFIX and the
# folder `musl_root` below which musl-dev is unpacked.
set(UPLINKD_MUSL ON)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${musl_compiler_prefix}gcc)
set(CMAKE_CXX_COMPILER ${musl_compiler_prefix}g++)

set(libc ${musl_root}/usr/lib/${CMAKE_SYSTEM_PROCESSOR}-linux-musl)
set(c_headers ${musl_root}/usr/include/${CMAKE_SYSTEM_PROCESSOR}-linux-musl)
if(NOT EXISTS ${libc}/libc.a)
  message(FATAL_ERROR "There is no musl-dev in ${libc}; ${musl_setup} installs it")
endif()
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=include
  OUTPUT_VARIABLE compiler_headers OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -E -v -x c++ /dev/null
  OUTPUT_QUIET ERROR_VARIABLE search)
string(REGEX MATCHALL "\n /[^\n]*/c\\+\\+/[0-9]+[^\n ]*" cxx_headers "${search}")
list(TRANSFORM cxx_headers STRIP)
list(REMOVE_DUPLICATES cxx_headers)

set(c_flags "-nostdinc -isystem ${c_headers} -isystem ${compiler_headers}")
list(JOIN cxx_headers " -isystem " cxx_headers)
set(CMAKE_C_FLAGS_INIT "${c_flags} ${musl_flags}")
set(CMAKE_CXX_FLAGS_INIT
  "-isystem ${cxx_headers} ${c_flags} -include ${CMAKE_CURRENT_LIST_DIR}/musl.h ${musl_flags}")

# Start files and the C library are looked for there first.
set(CMAKE_SHARED_LINKER_FLAGS_INIT -B${libc}/)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -B${libc}/)
if(UPLINKD_STATIC)
  set(musl_kind -static-pie)
else()
  set(musl_kind -Wl,-dynamic-linker,/lib/ld-musl-${CMAKE_SYSTEM_PROCESSOR}.so.1)
endif()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-B${libc}/ ${musl_kind} ${musl_link_flags}")
