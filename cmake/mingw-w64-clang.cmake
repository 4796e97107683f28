# The same with clang and lld, on the headers and libraries of g++'s: what it links has PDBs, which debuggers on Windows read.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${QV_MINGW_PREFIX})
set(CMAKE_CXX_COMPILER_TARGET ${QV_MINGW_PREFIX})
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -fuse-ld=lld)
endforeach()
