# Compiles each wrong program of misuse/ and compares the first thing that the compiler says with the program's first line.
# The headers that most of them include are compiled once before: without those for callbacks, whose templates every
# program would pay for. Usage: cmake -DCOMPILER=... -DOPTIONS=... -DINCLUDE_FOLDER=...
# -DFOLDER=... -P misuse_check.cmake
separate_arguments(OPTIONS)
set(compile ${COMPILER} ${OPTIONS} -std=c++20 -I${INCLUDE_FOLDER})
include(${CMAKE_CURRENT_LIST_DIR}/../support/precompile.cmake)
qv_precompile(use ${FOLDER}/headers.hpp "#include \"qvjvm/qvjvm.hpp\"\n" ${compile})

file(GLOB programs ${CMAKE_CURRENT_LIST_DIR}/misuse/*.cpp)
list(LENGTH programs count)
set(failed 0)
foreach(program IN LISTS programs)
  file(STRINGS ${program} first LIMIT_COUNT 1)
  string(REPLACE "// The compiler says: " "" expected "${first}")
  execute_process(COMMAND ${compile} ${use} -fsyntax-only ${program} ERROR_VARIABLE said OUTPUT_QUIET RESULT_VARIABLE status)
  string(REPLACE ";" "," said "${said}")
  string(REGEX MATCHALL "[^\n]*(error: |note: non-constexpr function)[^\n]*" lines "${said}")
  # clang and later g++ tell why a call is no constant in the line after it.
  list(SUBLIST lines 0 2 lines)
  if(NOT lines MATCHES "^[^;]*is not a constant expression")
    list(SUBLIST lines 0 1 lines)  # none where a wrong program compiles
  endif()
  string(FIND "${lines}" "${expected}" at)
  if(status EQUAL 0 OR at EQUAL -1)
    math(EXPR failed "${failed} + 1")
    message(NOTICE "${program}\n  expected: ${expected}\n  said: ${said}")
  endif()
endforeach()
if(failed OR count LESS 20)
  message(FATAL_ERROR "${failed} of ${count} wrong programs got another answer")
endif()
message(NOTICE "${count} wrong programs, each with its reason")
