# The programs bring musl along, and need no loader: for a rescue image.
set(UPLINKD_STATIC ON)
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)
