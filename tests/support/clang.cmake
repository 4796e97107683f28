# clang as a second compiler for the same Windows: QV_CLANG and what it is told. qv_compile_with_clang(target header
# definitions source...) adds to a program sources that clang compiles; the header that each of them includes is compiled
# once.
find_program(QV_CLANG NAMES clang clang-14 NO_CMAKE_FIND_ROOT_PATH)

# The headers of this build's compiler, for clang, which brings none for Windows: C's, and C++'s before them.
set(QV_CLANG_C_HEADERS "")
set(QV_CLANG_CXX_HEADERS "")
foreach(folder IN LISTS CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
  if(folder MATCHES "/c\\+\\+")
    list(APPEND QV_CLANG_CXX_HEADERS -isystem ${folder})
  elseif(EXISTS ${folder}/windows.h)
    list(APPEND QV_CLANG_C_HEADERS -isystem ${folder})
  endif()
endforeach()
set(QV_CLANG_TARGET x86_64-w64-mingw32)

function(qv_compile_with_clang target header definitions)
  # What a target that is compiled here inherits is not known to another compiler.
  set(options -DNOMINMAX -DUNICODE -DWIN32_LEAN_AND_MEAN -D_UNICODE -D_WIN32_WINNT=0x0601 -DGTEST_HAS_PTHREAD=0)
  list(APPEND options ${definitions})
  # As in the root's CMakeLists.txt: <format> is not our script.
  list(APPEND options -iquote ${CMAKE_SOURCE_DIR} -I${CMAKE_SOURCE_DIR}/include)
  foreach(folder IN ITEMS ${QV_JNI_INCLUDE} ${QV_JNI_MD_INCLUDE} ${QV_GOOGLETEST_SOURCE}/googletest/include
                          ${QV_GOOGLETEST_SOURCE}/googlemock/include)
    list(APPEND options -isystem ${folder})
  endforeach()
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target})
  set(headers ${folder}/${header}.pch)
  set(compile ${QV_CLANG} --target=${QV_CLANG_TARGET} -std=c++20 -O1 -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion
              -Werror ${options} ${QV_CLANG_CXX_HEADERS} ${QV_CLANG_C_HEADERS})
  add_custom_command(
    OUTPUT ${headers}
    COMMAND ${compile} -MD -MF ${headers}.d -fpch-instantiate-templates -x c++-header ${CMAKE_CURRENT_SOURCE_DIR}/${header}
            -o ${headers}
    DEPENDS ${header} DEPFILE ${headers}.d VERBATIM)
  foreach(source IN LISTS ARGN)
    cmake_path(GET source STEM name)
    set(object ${folder}/${name}.obj)
    add_custom_command(
      OUTPUT ${object}
      COMMAND ${compile} -include-pch ${headers} -MD -MF ${object}.d -c ${CMAKE_CURRENT_SOURCE_DIR}/${source} -o ${object}
      DEPENDS ${source} ${headers} DEPFILE ${object}.d VERBATIM)
    target_sources(${target} PRIVATE ${object})
  endforeach()
endfunction()
