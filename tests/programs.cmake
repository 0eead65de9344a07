# What the programs for the router are as binaries: what they need at run time, how they are hardened,
# and how large daemon and uplinkctl may be. Variables: daemon, uplinkctl, programs (all, "|" between them), nm, readelf,
# strip; whether this is a release, static, fortified (not every C library can), and has branch
# protection (branches), and whether the linker optimises it (optimised).

function(show result)
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${ARGN} OUTPUT_VARIABLE output)
  set(${result} "${output}" PARENT_SCOPE)
endfunction()

# Each row: what it is, where it shows, and a pattern that has to be there, or must not.
set(rows
  "a position-independent program|header|needs|Type: +DYN"
  "the stack's header|segments|needs|GNU_STACK"
  "an executable stack|segments|never|GNU_STACK[^\n]*RWE"
  "a segment to write and to execute|segments|never|LOAD[^\n]*RWE"
  "read-only relocations|segments|needs|GNU_RELRO"
  "immediate binding|dynamic|needs|BIND_NOW"
  "a search path of its own|dynamic|never|RPATH|RUNPATH"
  "relocations of code|dynamic|never|TEXTREL")
if(NOT static)
  list(APPEND rows
    "a library|dynamic|needs|NEEDED"
    "more than the C library|dynamic|never|library: .(lib[^c]|libc[^.])"
    "the C++ library or the heap|imports|never| ((m|c|re)alloc|reallocarray|free|strn?dup|v?asprintf|operator (new|delete)|__cxa_throw|std::)"
    "the stack protector|imports|needs|__stack_chk_fail")
endif()
if(release)
  list(APPEND rows "unwind tables|segments|never|GNU_EH_FRAME")
endif()
if(release AND fortified)
  list(APPEND rows "fortified functions|imports|needs|__[a-z]+_chk@")
endif()
if(branches)
  list(APPEND rows "branch protection|notes|needs|IBT, SHSTK|BTI")
endif()

string(REPLACE "|" ";" programs "${programs}")
foreach(program IN LISTS programs)
  show(header ${readelf} -hW ${program})
  show(segments ${readelf} -lW ${program})
  show(dynamic ${readelf} -dW ${program})
  show(notes ${readelf} -nW ${program})
  show(imports ${nm} -D -C --undefined-only ${program})
  foreach(row IN LISTS rows)
    string(REGEX MATCH "^([^|]*)[|]([^|]*)[|]([^|]*)[|](.*)$" row "${row}")
    set(what ${CMAKE_MATCH_1})
    set(place ${CMAKE_MATCH_2})
    set(rule ${CMAKE_MATCH_3})
    if("${${place}}" MATCHES "${CMAKE_MATCH_4}")
      set(against never)
    else()
      set(against needs)
    endif()
    if(rule STREQUAL against)
      message(SEND_ERROR "${program} ${rule} this: ${what}")
    endif()
  endforeach()
endforeach()

function(check_size program limit)
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${strip} -o ${program}.stripped ${program})
  file(SIZE ${program}.stripped size)
  file(REMOVE ${program}.stripped)
  if(size GREATER limit)
    message(SEND_ERROR "${program}: ${size} bytes stripped, more than ${limit}")
  endif()
endfunction()
if(release AND optimised AND NOT static)
  check_size(${daemon} 78000)
  check_size(${uplinkctl} 120000)
endif()
