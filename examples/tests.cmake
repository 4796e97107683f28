# Each example is a test on each Java runtime, in an installation that a fixture makes.
# The folder has a blank in its name, as Program Files has. One database server serves all of them.
set(address ${CMAKE_CURRENT_BINARY_DIR}/postgresql.txt)
add_test(NAME examples.postgresql COMMAND ${CMAKE_SOURCE_DIR}/tools/postgresql ${address})
set_tests_properties(examples.postgresql PROPERTIES LABELS examples TIMEOUT 60 FIXTURES_SETUP postgresql)

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
endforeach()
