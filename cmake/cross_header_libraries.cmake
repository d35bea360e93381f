# CLI11 and nlohmann-json are header-only, so the build machine's Debian packages serve a cross
# build too. Their headers are reached through a folder of links: adding /usr/include itself would
# put the build machine's C library headers before the target's.
set(_vek_cross_include ${CMAKE_BINARY_DIR}/cross-include)
file(MAKE_DIRECTORY ${_vek_cross_include})
foreach(_library CLI nlohmann)
  if(NOT EXISTS /usr/include/${_library})
    message(FATAL_ERROR "/usr/include/${_library} is missing: install libcli11-dev and nlohmann-json3-dev")
  endif()
  file(CREATE_LINK /usr/include/${_library} ${_vek_cross_include}/${_library} SYMBOLIC)
endforeach()
add_library(CLI11::CLI11 INTERFACE IMPORTED)
target_include_directories(CLI11::CLI11 INTERFACE ${_vek_cross_include})
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
target_include_directories(nlohmann_json::nlohmann_json INTERFACE ${_vek_cross_include})
