# How everything that runs on the router is compiled (uplinkd_embedded) and its programs are linked
# (uplinkd_router_program): against the C library alone, hardened, and small. packaging/README.md says
# what each flag gives or costs.
add_library(uplinkd_embedded INTERFACE)
add_library(uplinkd_router_program INTERFACE)
target_link_libraries(uplinkd_router_program INTERFACE uplinkd_embedded)
target_link_libraries(uplinkd_embedded INTERFACE uplinkd_warnings Threads::Threads)
target_compile_definitions(uplinkd_embedded INTERFACE
  _GNU_SOURCE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_compile_options(uplinkd_embedded INTERFACE
  -fno-exceptions -fno-rtti -fno-threadsafe-statics)
target_link_options(uplinkd_router_program INTERFACE -Wl,--as-needed)

# Hardening. A toolchain may set _FORTIFY_SOURCE itself, to less; without optimisation it does nothing.
target_compile_options(uplinkd_embedded INTERFACE -fPIE -fstack-protector-strong)
target_link_options(uplinkd_router_program INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
if(NOT UPLINKD_STATIC) # that has -static-pie
  target_link_options(uplinkd_router_program INTERFACE -pie)
endif()

# A sanitizer wants its own runtime, no fortified functions, and all of the program's frames.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  return()
endif()

# What a release is: every build but a developer's, which keeps what a debugger wants to see.
set(release $<NOT:$<OR:$<CONFIG:Debug>,$<STREQUAL:$<CONFIG>,>>>)
target_compile_options(uplinkd_embedded INTERFACE
  $<${release}:-U_FORTIFY_SOURCE> $<${release}:-D_FORTIFY_SOURCE=3>
  $<${release}:-fno-unwind-tables> $<${release}:-fno-asynchronous-unwind-tables>
  $<${release}:-fomit-frame-pointer>
  $<$<AND:${release},$<CXX_COMPILER_ID:GNU>>:-fno-partial-inlining>)
target_link_options(uplinkd_router_program INTERFACE
  $<${release}:-Wl,--no-eh-frame-hdr,-z,noseparate-code>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  target_compile_options(uplinkd_embedded INTERFACE $<${release}:-fno-plt>)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64")
  target_compile_options(uplinkd_embedded INTERFACE $<${release}:-mno-outline-atomics>)
  if(NOT UPLINKD_PLATFORM_LIBRARIES) # who knows how large those are
    set(short_addresses $<${release}:-mcmodel=tiny>) # for programs of less than 1 MiB: see src/
  endif()
endif()

# Branch protection needs the start files' help, or the kernel will not switch it on.
include(CheckCXXSourceCompiles)
function(protect_branches processors compile_option link_option)
  if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "${processors}")
    return()
  endif()
  set(CMAKE_REQUIRED_FLAGS ${compile_option})
  set(CMAKE_REQUIRED_LINK_OPTIONS ${link_option} -Wl,--fatal-warnings)
  check_cxx_source_compiles("int main() { return 0; }" UPLINKD_BRANCH_PROTECTION)
  if(NOT UPLINKD_BRANCH_PROTECTION)
    message(STATUS "No branch protection: the start files of this toolchain do not have it")
  else()
    target_compile_options(uplinkd_embedded INTERFACE ${compile_option})
    target_link_options(uplinkd_router_program INTERFACE ${link_option})
  endif()
endfunction()
protect_branches("x86_64|AMD64" -fcf-protection=full -Wl,-z,cet-report=error)
protect_branches("aarch64" -mbranch-protection=standard -Wl,-z,force-bti)

# Without the C++ runtime, which would come in unnoticed otherwise. Another platform's libraries may be
# written in C++ and need it.
if(NOT UPLINKD_PLATFORM_LIBRARIES)
  target_link_options(uplinkd_router_program INTERFACE -nodefaultlibs)
  target_link_libraries(uplinkd_router_program INTERFACE -lgcc -lc -lgcc)
endif()
