# Writes headers for what library_calls.cpp and attempt_calls.cpp use, under one Java, and compiles them; they run under each.
# Usage: cmake -DBIND=... -DCOMPILER=... -DROOT=... -DCLASS_PATH=... -DBIN=... -DFOLDER=... -P library_build.cmake
set(out ${FOLDER}/headers)
if(CMAKE_HOST_UNIX)
  set(out Z:${out})
endif()
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/headers ${FOLDER}/headers-attempts)
execute_process(
  COMMAND
    ${BIND} --out ${out} --class-path "${CLASS_PATH}" org.h2.jdbcx.JdbcDataSource org.postgresql.ds.PGSimpleDataSource java.sql/*
    java.math.BigDecimal java.time.* java.time.format.DateTimeFormatter java.util.* java.util.concurrent.*
    java.util.stream.Collectors java.util.stream.Stream
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${COMPILER} -std=c++20 -municode -static -Wall -Wextra -Wshadow -Wconversion -Werror -DUNICODE -iquote ${ROOT} -I${ROOT}/include
          -I${FOLDER}/headers ${ROOT}/tests/bind/library_calls.cpp -o ${FOLDER}/library_calls.exe COMMAND_ERROR_IS_FATAL ANY)

execute_process(COMMAND ${BIND} --try --text utf8 --out ${out}-attempts --class-path "${CLASS_PATH}" wrapped.* java.util.ArrayList
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${COMPILER} -std=c++20 -static -fno-exceptions -fno-rtti -Wall -Wextra -Wshadow -Wconversion -Werror -DUNICODE
          -I${ROOT}/include -I${FOLDER}/headers-attempts ${ROOT}/tests/bind/attempt_calls.cpp -o ${FOLDER}/attempt_calls.exe
          COMMAND_ERROR_IS_FATAL ANY)
file(COPY ${BIN}/qvjvm.dll ${BIN}/qvshr.dll DESTINATION ${FOLDER})
