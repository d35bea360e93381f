# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (posix thread model, which has
# std::thread in GCC 12). Pass -DTBB_DIR=<prefix>/lib/cmake/TBB for the cross-built oneTBB.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(_mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${_mingw}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${_mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# ONLY keeps find_package from picking the Linux packages of the build machine.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Tests run through wine; the guard lets a command line choose another emulator.
if(NOT DEFINED CMAKE_CROSSCOMPILING_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
endif()
