# Each example is a test on each Java runtime, in an installation that a fixture makes.
# The folder has a blank in its name, as Program Files has.
function(qv_add_example_test name runtime fixture_property)
  string(REGEX REPLACE "^.*\\." "" what ${name})
  add_test(NAME ${name}.runtime${runtime}
           COMMAND ${CMAKE_SOURCE_DIR}/tools/example-test ${what} ${CMAKE_BINARY_DIR}/bin ${runtime}
                   "${CMAKE_BINARY_DIR}/examples/Java ${runtime}")
  set_tests_properties(
    ${name}.runtime${runtime} PROPERTIES LABELS "examples;runtime${runtime}" TIMEOUT 300 ${fixture_property}
                                         examples.runtime${runtime})
endfunction()

foreach(runtime IN ITEMS 11 17 21 25)
  qv_add_example_test(examples.install ${runtime} FIXTURES_SETUP)
  foreach(name IN ITEMS pdf pdf.failure join jdbc.h2 jdbc.postgresql)
    qv_add_example_test(${name} ${runtime} FIXTURES_REQUIRED)
  endforeach()
endforeach()
