# Who holds which lock, as clang's analysis reads it from the annotations of base/compiler.h. A test for each folder of
# the service, one for the headers, which are read once for all, and one in which a violation must be refused.
get_target_property(definitions qv_rules INTERFACE_COMPILE_DEFINITIONS)
list(TRANSFORM definitions PREPEND -D)
set(lock_options
    --target=${QV_CLANG_TARGET}
    ${QV_CLANG_CXX_HEADERS}
    ${QV_CLANG_C_HEADERS}
    -isystem ${QV_JNI_INCLUDE}
    -isystem ${QV_JNI_MD_INCLUDE}
    -iquote ${PROJECT_SOURCE_DIR}
    -I${PROJECT_SOURCE_DIR}/include
    ${definitions}
    -std=c++20 -Wthread-safety -Werror=thread-safety)
set(lock_headers ${CMAKE_CURRENT_BINARY_DIR}/lock_headers.pch)
add_test(NAME locks.headers COMMAND "${QV_CLANG}" ${lock_options} -x c++-header ${CMAKE_CURRENT_SOURCE_DIR}/lock_headers.h
                                    -o ${lock_headers})
set_tests_properties(locks.headers PROPERTIES FIXTURES_SETUP lock_headers)

# qv_add_lock_test(name sources...)
function(qv_add_lock_test name)
  add_test(NAME locks.${name} COMMAND "${QV_CLANG}" ${lock_options} -include-pch ${lock_headers} -fsyntax-only ${ARGN})
  set_tests_properties(locks.${name} PROPERTIES FIXTURES_REQUIRED lock_headers)
endfunction()

set(lock_folders base host store config bridge service)
foreach(folder IN LISTS lock_folders)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  qv_add_lock_test(${folder} ${sources})
endforeach()
qv_add_lock_test(positive_control ${CMAKE_CURRENT_SOURCE_DIR}/lock_violation.cpp)
set_tests_properties(locks.positive_control PROPERTIES PASS_REGULAR_EXPRESSION "requires holding.*'m_lock'")
list(TRANSFORM lock_folders PREPEND locks. OUTPUT_VARIABLE lock_tests)
set_tests_properties(locks.headers ${lock_tests} locks.positive_control PROPERTIES LABELS binary TIMEOUT 120)
