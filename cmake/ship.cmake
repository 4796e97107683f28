# qv_expect_version(file line): a file of another tool's, which says the version again, has this line.
function(qv_expect_version file line)
  file(STRINGS ${file} lines)
  if(NOT line IN_LIST lines)
    message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}/${file} has no line '${line}'.")
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endfunction()

# qv_ship(target description): what Windows shows of a DLL or a program of the package. The copyright is that of LICENSE.
file(STRINGS ${PROJECT_SOURCE_DIR}/LICENSE QV_COPYRIGHT REGEX "^Copyright ")

function(qv_ship target description)
  set(copyright ${QV_COPYRIGHT})
  get_target_property(kind ${target} TYPE)
  set(type VFT_APP)
  set(suffix exe)
  if(kind STREQUAL "SHARED_LIBRARY")
    set(type VFT_DLL)
    set(suffix dll)
  endif()
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}-version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${file} @ONLY)
  # The resource compiler knows nothing of the C++ warnings, so it gets a target of its own.
  add_library(${target}_version OBJECT ${file})
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_version>)
  # A PDB beside it, which knows no folder of the build's; lld leaves the DWARF of mingw's own libraries beside that.
  if(MINGW AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_link_options(${target} PRIVATE -fuse-ld=lld -Wl,--pdb= -Wl,-Xlink=-pdbaltpath:%_PDB%
                        -Wl,-Xlink=-pdbsourcepath:/build)
    find_program(QV_LLVM_STRIP llvm-strip REQUIRED)
    add_custom_command(TARGET ${target} POST_BUILD COMMAND ${QV_LLVM_STRIP} --strip-debug $<TARGET_FILE:${target}>)
  endif()
endfunction()
