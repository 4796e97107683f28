# The public headers compile alone, also twice in a row: for C and C++ where they promise both, with this build's compiler
# and with clang for both binary interfaces of Windows. A test each; they run natively, in no time.
include(${CMAKE_CURRENT_LIST_DIR}/../support/clang.cmake)

if(MSVC)
  return()  # its build of the tests compiles the headers already, and it has no -fsyntax-only
endif()

set(compiler_of_c ${QV_USERS_CC})
set(compiler_of_c++ ${QV_USERS_CXX})

# qv_add_header_test(header name language compiler and options...)
# Parts of the client, which no host includes, are seconds of compiling each: in the long form alone.
function(qv_add_header_test header name language)
  set(when "")
  if(header MATCHES "^qvjvm/client/.*[.]hpp$" AND NOT header STREQUAL "qvjvm/client/wrappers.hpp")
    set(when CONFIGURATIONS Long)
  endif()
  add_test(NAME header.${header}.${name}
           COMMAND ${ARGN} -x ${language} -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I ${PROJECT_SOURCE_DIR}/include
                   -include ${header} -include ${header} /dev/null
           ${when})
  set_tests_properties(header.${header}.${name} PROPERTIES LABELS binary TIMEOUT 60)
endfunction()

file(GLOB_RECURSE c_and_cxx RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/*.h)
# Parts of callbacks.h and of options.h, see below.
list(REMOVE_ITEM c_and_cxx qvjvm/client/host_functions.h qvjvm/client/start_functions.h)
foreach(header IN LISTS c_and_cxx)
  foreach(form IN ITEMS c99 c++11 c++20 c++20-c-view)
    string(REGEX MATCH "^c(\\+\\+)?" language ${form})
    string(REGEX REPLACE "-c-view" ";-DQV_C_VIEW" standard -std=${form})
    qv_add_header_test(${header} mingw.${form} ${language} ${compiler_of_${language}} ${standard})
    foreach(target IN ITEMS x86_64-pc-windows-msvc ${QV_CLANG_TARGET})
      qv_add_header_test(${header} clang-${target}.${form} ${language} "${QV_CLANG}" --target=${target} ${QV_CLANG_C_HEADERS}
                         ${standard})
    endforeach()
  endforeach()
endforeach()

# The functions of callbacks.h, which one source file of a host gets. They need Windows' header, and those of this build's
# compiler are not for Microsoft's.
foreach(form IN ITEMS c99 c11 c++11 c++20 c++20-c-view)
  string(REGEX MATCH "^c(\\+\\+)?" language ${form})
  string(REGEX REPLACE "-c-view" ";-DQV_C_VIEW" standard -std=${form})
  set(compiler ${compiler_of_${language}})
  set(strict ${standard} -Wshadow -Wconversion -Wundef -DQVJVM_CALLBACKS_IMPLEMENTATION)
  qv_add_header_test(qvjvm/callbacks.h functions.mingw.${form} ${language} ${compiler} ${strict})
  qv_add_header_test(qvjvm/callbacks.h functions.clang.${form} ${language} "${QV_CLANG}" --target=${QV_CLANG_TARGET}
                     ${QV_CLANG_C_HEADERS} ${strict})
  qv_add_header_test(qvjvm/callbacks.h functions.clang-msvc.${form} ${language} "${QV_CLANG}"
                     --target=x86_64-pc-windows-msvc -I${PROJECT_SOURCE_DIR}/tests/abi/freestanding ${strict})
  # And that of options.h, which needs more of Windows' header.
  list(TRANSFORM strict REPLACE CALLBACKS OPTIONS)
  qv_add_header_test(qvjvm/options.h functions.mingw.${form} ${language} ${compiler} ${strict})
  qv_add_header_test(qvjvm/options.h functions.clang.${form} ${language} "${QV_CLANG}" --target=${QV_CLANG_TARGET}
                     ${QV_CLANG_C_HEADERS} ${strict})
endforeach()

file(GLOB_RECURSE cxx_only RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/*.hpp)
foreach(header IN LISTS cxx_only)
  qv_add_header_test(${header} mingw.c++20 c++ ${QV_USERS_CXX} -std=c++20)
endforeach()
# It includes all the others.
qv_add_header_test(qvjvm/qvjvm.hpp clang-mingw.c++20 c++ "${QV_CLANG}" --target=${QV_CLANG_TARGET} ${QV_CLANG_CXX_HEADERS}
                   ${QV_CLANG_C_HEADERS} -std=c++20)
