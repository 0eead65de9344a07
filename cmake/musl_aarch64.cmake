# musl on the router's processor, with Debian's cross compiler; scripts/setup_aarch64 installs it.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(musl_compiler_prefix aarch64-linux-gnu-)
set(musl_root ${CMAKE_CURRENT_LIST_DIR}/../build/musl_arm64)
set(musl_setup scripts/setup_aarch64)
# The choice of atomic instructions at run time would be glibc's.
set(musl_flags -mno-outline-atomics)
# As in aarch64.cmake.
set(musl_link_flags -Wl,-z,max-page-size=4096)
include(${CMAKE_CURRENT_LIST_DIR}/musl_common.cmake)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run_emulated aarch64 ${musl_root})
