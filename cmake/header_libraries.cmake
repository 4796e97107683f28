# Header-only libraries of tests, tools and benchmarks: qv::json (nlohmann-json) and qv::cli11. They come from the build
# machine's own include folder, which holds headers of its C library too; so each is linked into a folder by itself.
include_guard()

function(qv_header_library target folder header package)
  find_path(QV_${folder}_INCLUDE ${folder}/${header} PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH)
  if(NOT QV_${folder}_INCLUDE)
    message(FATAL_ERROR "${folder}/${header} was not found. On Debian install ${package}, elsewhere set "
                        "QV_${folder}_INCLUDE.")
  endif()
  set(alone ${CMAKE_BINARY_DIR}/header-libraries/${target})
  file(MAKE_DIRECTORY ${alone})
  file(CREATE_LINK ${QV_${folder}_INCLUDE}/${folder} ${alone}/${folder} SYMBOLIC COPY_ON_ERROR)
  add_library(qv_${target} INTERFACE)
  add_library(qv::${target} ALIAS qv_${target})
  target_include_directories(qv_${target} SYSTEM INTERFACE ${alone})
endfunction()

qv_header_library(json nlohmann json.hpp nlohmann-json3-dev)
qv_header_library(cli11 CLI CLI.hpp libcli11-dev)
