# Writes headers for what fop_calls.cpp uses, compiles it, runs it, and looks at the PDF.
# Usage: cmake -DBIN=... -DEMULATOR=... -DCOMPILER=... -DROOT=... -DJARS=... -DFOLDER=... -P fop_check.cmake
if(CMAKE_HOST_UNIX)
  set(DRIVE Z:)
endif()

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/headers)
file(GLOB jars ${JARS}/fop-0.20.5/build/fop.jar ${JARS}/fop-0.20.5/lib/*.jar)
list(TRANSFORM jars PREPEND "${DRIVE}")  # an argument in quotes keeps its semicolons
execute_process(
  COMMAND
    ${EMULATOR} ${BIN}/qvjvm-bind.exe --out ${DRIVE}${FOLDER}/headers --class-path "${jars}" org.apache.fop.apps.Driver
    org.apache.fop.apps.Options org.apache.fop.configuration.Configuration org.apache.fop.messaging.MessageHandler
    org.apache.avalon.framework.logger.ConsoleLogger org.xml.sax.InputSource java.io.File java.io.FileOutputStream java.net.URI
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${COMPILER} -std=c++20 -municode -static -Wall -Wextra -Wshadow -Wconversion -Werror -DUNICODE -I${ROOT}/include
          -I${FOLDER}/headers ${ROOT}/tests/bind/fop_calls.cpp -o ${FOLDER}/fop_calls.exe COMMAND_ERROR_IS_FATAL ANY)
file(COPY ${BIN}/qvjvm.dll ${BIN}/qvshr.dll DESTINATION ${FOLDER})
execute_process(COMMAND ${EMULATOR} ${FOLDER}/fop_calls.exe "${jars}" ${DRIVE}${ROOT}/examples/fo2pdf/report.fo
                        ${DRIVE}${FOLDER}/report.pdf
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${ROOT}/tools/check-pdf ${FOLDER}/report.pdf ${ROOT}/examples/fo2pdf/report.expected
                COMMAND_ERROR_IS_FATAL ANY)
