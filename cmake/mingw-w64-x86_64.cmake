# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (posix thread model, which has
# std::thread in GCC 12). Pass -DCMAKE_FIND_ROOT_PATH=<prefix> for the cross-built libraries
# (scripts/build-mingw-deps.sh prints the prefix); the target's own files are searched after them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(_mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${_mingw}-windres)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${_mingw})
list(REMOVE_DUPLICATES CMAKE_FIND_ROOT_PATH)
# Checks that compile a test project see the same roots (and set the same pkg-config path below).
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_FIND_ROOT_PATH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# ONLY keeps find_package from picking the Linux packages of the build machine.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config likewise describes only the libraries under the roots.
set(_pkg_config_dirs)
foreach(_root IN LISTS CMAKE_FIND_ROOT_PATH)
  list(APPEND _pkg_config_dirs ${_root}/lib/pkgconfig ${_root}/share/pkgconfig)
endforeach()
string(REPLACE ";" ":" _pkg_config_dirs "${_pkg_config_dirs}")
set(ENV{PKG_CONFIG_LIBDIR} "${_pkg_config_dirs}")
# Tests run through wine; the guard lets a command line choose another emulator.
if(NOT DEFINED CMAKE_CROSSCOMPILING_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
endif()
