# Header-only libraries from Debian packages: CLI11 (libcli11-dev) and
# nlohmann-json (nlohmann-json3-dev). The cross build must not search the
# host's /usr/include as a whole (its C library headers would shadow
# MinGW's), so it sees each library through a folder of its own that links
# to just that library's headers.
set(VEXLON_HEADER_ROOT /usr/include CACHE PATH "Where the header-only libraries are installed")

function(vexlon_header_library target subdir probe)
  if(NOT EXISTS ${VEXLON_HEADER_ROOT}/${subdir}/${probe})
    message(FATAL_ERROR "${VEXLON_HEADER_ROOT}/${subdir}/${probe} is missing: run tools/setup.sh")
  endif()
  set(dir ${CMAKE_BINARY_DIR}/header-libraries/${target})
  file(MAKE_DIRECTORY ${dir})
  if(NOT EXISTS ${dir}/${subdir})
    file(CREATE_LINK ${VEXLON_HEADER_ROOT}/${subdir} ${dir}/${subdir} SYMBOLIC)
  endif()
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${dir})
endfunction()

vexlon_header_library(vexlon_cli11 CLI CLI.hpp)
vexlon_header_library(vexlon_json nlohmann json.hpp)
