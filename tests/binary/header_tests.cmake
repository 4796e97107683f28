# The public headers compile alone: for C and C++ where they promise both, with this build's compiler and with clang for
# both binary interfaces of Windows. A test each; they run natively, in no time.
find_program(QV_CLANG NAMES clang clang-14 NO_CMAKE_FIND_ROOT_PATH)

# The headers of this build's compiler, for clang, which brings none for Windows: C's, and C++'s before them.
set(c_headers "")
set(cxx_headers "")
foreach(folder IN LISTS CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
  if(folder MATCHES "/c\\+\\+")
    string(APPEND cxx_headers " -isystem ${folder}")
  elseif(EXISTS ${folder}/windows.h)
    string(APPEND c_headers " -isystem ${folder}")
  endif()
endforeach()

# qv_add_header_test(header compiler-name compiler language options)
function(qv_add_header_test header name compiler language options)
  string(REGEX REPLACE "^.*-std=([^ ]+).*$" "\\1" standard "${options}")
  string(MAKE_C_IDENTIFIER "${header}" id)
  if(options MATCHES "QV_C_VIEW")
    set(standard ${standard}-c-view)
  endif()
  add_test(
    NAME header.${header}.${name}.${standard}
    COMMAND
      ${CMAKE_COMMAND} -DCOMPILER=${compiler} -DINCLUDE_FOLDER=${PROJECT_SOURCE_DIR}/include -DHEADER=${header}
      -DLANGUAGE=${language} "-DOPTIONS=${options}"
      -DSOURCE=${CMAKE_CURRENT_BINARY_DIR}/${id}-${name}-${standard}.txt -P
      ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/header_check.cmake)
  set_tests_properties(header.${header}.${name}.${standard} PROPERTIES LABELS binary TIMEOUT 60)
endfunction()

set(clang_target_msvc x86_64-pc-windows-msvc)
set(clang_target_mingw x86_64-w64-mingw32)

if(MSVC)
  return()  # its build of the tests compiles the headers already, and it has no -fsyntax-only
endif()

file(GLOB_RECURSE c_and_cxx RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/include/*.h)
foreach(header IN LISTS c_and_cxx)
  qv_add_header_test(${header} mingw ${CMAKE_C_COMPILER} c -std=c99)
  foreach(target IN ITEMS msvc mingw)
    set(clang_for_c "--target=${clang_target_${target}}${c_headers}")
    qv_add_header_test(${header} clang-${target} "${QV_CLANG}" c "${clang_for_c} -std=c99")
  endforeach()
  foreach(options IN ITEMS -std=c++11 -std=c++20 "-std=c++20 -DQV_C_VIEW")
    qv_add_header_test(${header} mingw ${CMAKE_CXX_COMPILER} c++ "${options}")
    foreach(target IN ITEMS msvc mingw)
      set(clang_for_c "--target=${clang_target_${target}}${c_headers}")
      qv_add_header_test(${header} clang-${target} "${QV_CLANG}" c++ "${clang_for_c} ${options}")
    endforeach()
  endforeach()
endforeach()

file(GLOB_RECURSE cxx_only RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/include/*.hpp)
foreach(header IN LISTS cxx_only)
  qv_add_header_test(${header} mingw ${CMAKE_CXX_COMPILER} c++ -std=c++20)
endforeach()
# It includes all the others.
qv_add_header_test(qvjvm/qvjvm.hpp clang-mingw "${QV_CLANG}" c++
                   "--target=${clang_target_mingw}${cxx_headers}${c_headers} -std=c++20")
