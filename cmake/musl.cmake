# musl on this machine's processor, x86_64: scripts/setup installs musl-dev.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(musl_setup scripts/setup)
include(${CMAKE_CURRENT_LIST_DIR}/musl_common.cmake)
