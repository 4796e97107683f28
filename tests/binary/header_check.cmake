# Compiles one header by itself, and twice in a row, syntax only: what it needs, it includes.
# cmake -DCOMPILER=... -DINCLUDE_FOLDER=... -DHEADER=... -DLANGUAGE=c|c++ "-DOPTIONS=a b" -DSOURCE=file -P header_check.cmake
if(NOT COMPILER)
  message(FATAL_ERROR "There is no clang here, so nothing shows that ${HEADER} suits it. On Debian install clang.")
endif()
separate_arguments(OPTIONS)
file(WRITE ${SOURCE} "#include \"${HEADER}\"\n#include \"${HEADER}\"\ntypedef int NotEmpty;\n")
execute_process(
  COMMAND ${COMPILER} ${OPTIONS} -x ${LANGUAGE} -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I ${INCLUDE_FOLDER}
          ${SOURCE}
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  list(JOIN OPTIONS " " OPTIONS)
  message(FATAL_ERROR "${HEADER} does not compile alone as ${LANGUAGE} with ${COMPILER} ${OPTIONS}")
endif()
