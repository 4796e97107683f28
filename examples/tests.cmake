# Each example is a test on each Java runtime, in an installation that a fixture makes.
# The folder has a blank in its name, as Program Files has. One database server serves all of them.
set(address ${CMAKE_CURRENT_BINARY_DIR}/postgresql.txt)
add_test(NAME examples.postgresql COMMAND ${CMAKE_SOURCE_DIR}/tools/postgresql ${address})
set_tests_properties(examples.postgresql PROPERTIES LABELS examples TIMEOUT 60 FIXTURES_SETUP postgresql)

# Sends Ctrl+C to the report server.
add_executable(ctrl_c ${CMAKE_SOURCE_DIR}/tests/examples/ctrl_c.cpp)
target_link_libraries(ctrl_c PRIVATE qv::rules)
target_link_options(ctrl_c PRIVATE -municode)
set_target_properties(ctrl_c PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/tests)

foreach(runtime IN ITEMS 11 17 21 25)
  set(labels "examples;runtime${runtime}")
  set(installation "${CMAKE_BINARY_DIR}/examples/Java ${runtime}")
  add_test(NAME examples.install.runtime${runtime}
           COMMAND ${CMAKE_COMMAND} "-DFOLDER=${installation}" "-DFROM=${CMAKE_BINARY_DIR}/bin"
                   "-DRUNTIME=${QV_RUNTIMES_DIR}/${runtime}"
                   "-DJARS=${QV_JARS_DIR}" -P ${CMAKE_SOURCE_DIR}/tools/install.cmake)
  set_tests_properties(examples.install.runtime${runtime} PROPERTIES LABELS "${labels}" TIMEOUT 120
                                                                     FIXTURES_SETUP examples.runtime${runtime})
  foreach(name IN ITEMS pdf pdf.failure join jdbc.h2 jdbc.postgresql)
    string(REGEX REPLACE "^.*\\." "" what ${name})
    add_test(NAME ${name}.runtime${runtime} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check ${what} ${installation} ${runtime}
                                                    ${address})
    set_tests_properties(${name}.runtime${runtime} PROPERTIES LABELS "${labels}" TIMEOUT 300
                                                              FIXTURES_REQUIRED examples.runtime${runtime})
  endforeach()
  set_property(TEST jdbc.postgresql.runtime${runtime} APPEND PROPERTY FIXTURES_REQUIRED postgresql)
  # As under Wine anywhere: no collection waits for a thread of the JVM's that has yet to start.
  foreach(name IN ITEMS all interrupt)
    add_test(NAME reports.${name}.runtime${runtime}
             COMMAND ${CMAKE_SOURCE_DIR}/tests/examples/check-reports ${name} ${installation}
                     ${CMAKE_CURRENT_BINARY_DIR}/reports-${name}-${runtime} ${CMAKE_BINARY_DIR}/bin/tests/ctrl_c.exe)
    set_tests_properties(
      reports.${name}.runtime${runtime}
      PROPERTIES LABELS "${labels}" TIMEOUT 120 PROCESSORS 2 FIXTURES_REQUIRED examples.runtime${runtime} ENVIRONMENT
                 "_JAVA_OPTIONS=-XX:-UseDynamicNumberOfGCThreads -XX:-UseDynamicNumberOfCompilerThreads")
  endforeach()
endforeach()
