# Installations for tests with real Java runtimes. An installation is a folder with the service, the host library, the
# programs of the tests and a private runtime in JRE, made when the tests run, so that a build needs no runtimes.
#
#   qv_stage_program(target)                     puts a program where installations take it from
#   qv_add_real_program(name SOURCES file ... [LIBRARIES target ...])
#                                                a program of tests, staged; qv_running_vm is the frame with a JVM
#   qv_add_java(package jar)                     compiles java/<package> into a jar at the same place
#   qv_add_installation(name [RUNTIME version] [TIER tier] FILES file ...)
#                                                a test that makes the installation, "<tier>.install.<name>"
#   qv_add_real_test(runtime program group ...)  a test that runs a group of a program's tests in an installation; LONG:
#                                                in the long form alone
include_guard(DIRECTORY)
include(${CMAKE_SOURCE_DIR}/cmake/downloads.cmake)
include(${CMAKE_SOURCE_DIR}/cmake/java.cmake)

set(QV_REAL_RUNTIMES 11 17 21 25)
set(QV_REAL_FILES ${CMAKE_BINARY_DIR}/bin/real)
set(QV_REAL_INSTALLATIONS ${CMAKE_BINARY_DIR}/real)
set(QV_REAL_SOURCES ${CMAKE_CURRENT_LIST_DIR})

function(qv_stage_program target)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${QV_REAL_FILES})
  add_dependencies(${target} qvjvm qvshr)
endfunction()

function(qv_add_real_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADER" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} qv::rules qv::jni qv_test_support GTest::gmock GTest::gtest_main)
  if(arg_HEADER)
    target_precompile_headers(${name} PRIVATE ${arg_HEADER})
  else()
    target_precompile_headers(${name} REUSE_FROM qv_googletest_headers)
  endif()
  qv_stage_program(${name})
endfunction()

function(qv_add_java package jar)
  file(GLOB sources CONFIGURE_DEPENDS ${QV_REAL_SOURCES}/java/${package}/*.java)
  set(classes ${CMAKE_CURRENT_BINARY_DIR}/classes-${package})
  add_custom_command(
    OUTPUT ${QV_REAL_FILES}/${jar}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${classes}
    COMMAND ${QV_JAVAC} -encoding UTF-8 --release 11 -Xlint:all,-serial -Werror -d ${classes} ${sources}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QV_REAL_FILES}
    COMMAND ${QV_JAR} --create --file ${QV_REAL_FILES}/${jar} -C ${classes} ${package}
    DEPENDS ${sources}
    VERBATIM)
  add_custom_target(java_${package} ALL DEPENDS ${QV_REAL_FILES}/${jar})
endfunction()

# How Windows programs under Wine name a path of this machine; a native build keeps it.
function(qv_windows_path out path)
  if(CMAKE_HOST_UNIX)
    set(path Z:${path})
  endif()
  string(REPLACE "/" "\\" path ${path})
  set(${out} ${path} PARENT_SCOPE)
endfunction()

# The tests bear the name and the label of their tier, "real" unless TIER says another.
# Without a runtime it has no private one. A file may be "built=installed" where the installed one has another name.
function(qv_add_installation name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "RUNTIME;TIER" "FILES")
  if(NOT arg_TIER)
    set(arg_TIER real)
  endif()
  set(labels ${arg_TIER})
  set(runtime "")
  if(arg_RUNTIME)
    set(runtime ${QV_RUNTIMES_DIR}/${arg_RUNTIME})
    list(APPEND labels runtime${arg_RUNTIME})
  endif()
  add_test(
    NAME ${arg_TIER}.install.${name}
    COMMAND
      ${CMAKE_COMMAND} "-DFOLDER=${QV_REAL_INSTALLATIONS}/${name}" "-DRUNTIME=${runtime}" "-DFILES=${arg_FILES}"
      "-DFROM=${CMAKE_BINARY_DIR}/bin" -P ${CMAKE_SOURCE_DIR}/tools/install.cmake)
  set_tests_properties(${arg_TIER}.install.${name} PROPERTIES LABELS "${labels}" FIXTURES_SETUP installation.${name} TIMEOUT 120)
endfunction()

# A group is a test suite, or what FILTER says in GoogleTest's way; one that has no tests fails. LAUNCHER is the
# command that runs the tests when <program>.exe does not.
function(qv_add_real_test runtime program group)
  cmake_parse_arguments(PARSE_ARGV 3 arg "LONG" "FILTER;INSTALLATION;PROCESSORS;TIMEOUT;TIER" "ENVIRONMENT;LAUNCHER")
  foreach(default IN ITEMS FILTER=${group}.* INSTALLATION=${runtime} PROCESSORS=1 TIMEOUT=120 TIER=real)
    string(REPLACE "=" ";" default ${default})
    list(GET default 0 name)
    if(NOT arg_${name})
      list(GET default 1 arg_${name})
    endif()
  endforeach()
  if(NOT arg_LAUNCHER)
    set(arg_LAUNCHER ${CMAKE_CROSSCOMPILING_EMULATOR} ${QV_REAL_INSTALLATIONS}/${arg_INSTALLATION}/${program}.exe)
  endif()
  if(NOT group MATCHES "^[A-Za-z0-9_]+$")
    message(FATAL_ERROR "'${group}' names no group of tests; FILTER says which tests are in one")
  endif()
  set(name ${arg_TIER}.runtime${runtime}.${program}.${group})
  set(when "")
  if(arg_LONG)
    set(when CONFIGURATIONS Long)
  endif()
  add_test(NAME ${name} COMMAND ${arg_LAUNCHER} --gtest_filter=${arg_FILTER} ${when})
  set_tests_properties(
    ${name}
    PROPERTIES LABELS "${arg_TIER};runtime${runtime}"
               ENVIRONMENT "${arg_ENVIRONMENT}"
               FIXTURES_REQUIRED installation.${arg_INSTALLATION}
               FAIL_REGULAR_EXPRESSION "Running 0 tests"
               PROCESSORS ${arg_PROCESSORS}
               TIMEOUT ${arg_TIMEOUT})
endfunction()
