# The same with clang, on the headers and libraries of g++'s. What is shipped is linked by lld, with PDBs, which debuggers on
# Windows read; the rest by GNU's linker, since in what lld 14 links, libstdc++'s streams pass exceptions on that they
# should keep.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)

# Debian's folder, "12-posix", is no version to clang, which so does not find it.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name OUTPUT_VARIABLE gcc OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET gcc PARENT_PATH gcc)
# Threads' own variables as in g++'s libraries.
set(CMAKE_CXX_FLAGS_INIT "-femulated-tls -isystem ${gcc}/include/c++ -isystem ${gcc}/include/c++/${QV_MINGW_PREFIX}")
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -L${gcc})
endforeach()

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${QV_MINGW_PREFIX})
set(CMAKE_CXX_COMPILER_TARGET ${QV_MINGW_PREFIX})
