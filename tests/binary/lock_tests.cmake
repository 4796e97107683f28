# Who holds which lock, as clang's analysis reads it from the annotations of base/compiler.h. A test for each folder of
# the service, and one in which a source with a violation must be refused.
separate_arguments(system_headers UNIX_COMMAND "${cxx_headers} ${c_headers}")
get_target_property(definitions qv_rules INTERFACE_COMPILE_DEFINITIONS)
list(TRANSFORM definitions PREPEND -D)
set(lock_options
    --target=${clang_target_mingw}
    ${system_headers}
    -isystem ${QV_JNI_INCLUDE}
    -isystem ${QV_JNI_MD_INCLUDE}
    -I${PROJECT_SOURCE_DIR}
    -I${PROJECT_SOURCE_DIR}/include
    ${definitions}
    -std=c++20 -fsyntax-only -Wthread-safety -Werror=thread-safety)

foreach(folder IN ITEMS base host store config bridge service)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  add_test(NAME locks.${folder} COMMAND "${QV_CLANG}" ${lock_options} ${sources})
  list(APPEND lock_tests locks.${folder})
endforeach()
add_test(NAME locks.positive_control COMMAND "${QV_CLANG}" ${lock_options} ${CMAKE_CURRENT_SOURCE_DIR}/lock_violation.cpp)
set_tests_properties(locks.positive_control PROPERTIES PASS_REGULAR_EXPRESSION "requires holding.*'m_lock'")
set_tests_properties(${lock_tests} locks.positive_control PROPERTIES LABELS binary TIMEOUT 120)
