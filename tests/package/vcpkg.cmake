# Runs the port with what vcpkg's functions come to, on a build that is there already.
# cmake -DPORT_FOLDER=... -DBUILD=... -DPREFIX=... -P vcpkg.cmake
cmake_minimum_required(VERSION 3.25)
set(PORT qvjvm)
set(CURRENT_PACKAGES_DIR ${PREFIX})
set(CURRENT_INSTALLED_DIR ${PREFIX}/of-others)

function(vcpkg_cmake_configure)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "SOURCE_PATH" "OPTIONS")
  if(NOT EXISTS ${arg_SOURCE_PATH}/CMakeLists.txt)
    message(FATAL_ERROR "${arg_SOURCE_PATH} is not the product's tree")
  endif()
  foreach(option IN LISTS arg_OPTIONS)
    string(REGEX REPLACE "^-D([^=]*)=.*" "\\1" name ${option})
    # An option that nothing reads would be a mistake in the port.
    file(STRINGS ${BUILD}/CMakeCache.txt known REGEX "^${name}:")
    if(NOT known)
      message(FATAL_ERROR "the project has no option ${name}")
    endif()
  endforeach()
endfunction()

function(vcpkg_cmake_install)
  execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The CMake package moves to share, one folder nearer to the root.
function(vcpkg_cmake_config_fixup)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "CONFIG_PATH" "")
  file(GLOB files ${PREFIX}/${arg_CONFIG_PATH}/*)
  file(COPY ${files} DESTINATION ${PREFIX}/share/${PORT})
  file(REMOVE_RECURSE ${PREFIX}/${arg_CONFIG_PATH})
  foreach(file IN LISTS files)
    cmake_path(GET file FILENAME name)
    file(READ ${PREFIX}/share/${PORT}/${name} text)
    string(REPLACE "/../../../" "/../../" text "${text}")
    file(WRITE ${PREFIX}/share/${PORT}/${name} "${text}")
  endforeach()
endfunction()

function(vcpkg_fixup_pkgconfig)
endfunction()

function(vcpkg_install_copyright)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "FILE_LIST")
  file(MAKE_DIRECTORY ${PREFIX}/share/${PORT})
  file(COPY_FILE ${arg_FILE_LIST} ${PREFIX}/share/${PORT}/copyright)
endfunction()

include(${PORT_FOLDER}/portfile.cmake)
