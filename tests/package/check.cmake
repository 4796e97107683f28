# Builds the consumer project against a package and runs its programs.
# cmake -DBUILD=... -DFOLDER=... -DFROM=install|zip -DZIP=... -DTOOLCHAIN=... -DEMULATOR=... -DSOURCE=... -DCOMPILER=... -P check.cmake
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(result)
    message(FATAL_ERROR "${what} failed (${result}):\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
if(FROM STREQUAL "install")
  run("the installation" ${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/package)
  set(package ${FOLDER}/package)
else()
  get_filename_component(folder ${ZIP} DIRECTORY)
  run("comparing the checksum" ${CMAKE_COMMAND} -E chdir ${folder} sha256sum --check --strict ${ZIP}.sha256)
  run("unpacking" ${CMAKE_COMMAND} -E chdir ${FOLDER} ${CMAKE_COMMAND} -E tar xf ${ZIP})
  file(GLOB package ${FOLDER}/qvjvm-*)
endif()
foreach(file IN ITEMS bin/qvjvm.dll bin/qvshr.dll bin/qvjvm-doctor.exe bin/qvjvm-bind.exe bin/qvjvm-train.exe include/qvjvm/qvjvm.h include/qvjvm/qvjvm.hpp
                      include/qvjvm/callbacks.h include/qvjvm/callbacks.hpp include/qvjvm/client/host_classes.inc
                      lib/libqvjvm.dll.a lib/qvjvm.lib lib/pkgconfig/qvjvm.pc README.md share/qvjvm/doctor-report.schema.json share/doc/qvjvm/README.md
                      share/doc/qvjvm/LICENSE
                      share/doc/qvjvm/examples/README.md)
  if(NOT EXISTS ${package}/${file})
    message(FATAL_ERROR "the package lacks ${file}")
  endif()
endforeach()
set(root ${SOURCE}/../../..)
run("the links of the packed documents" ${root}/tools/check-docs --links ${package})

run("configuring the consumer" ${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${FOLDER}/consumer -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -DCMAKE_BUILD_TYPE=Release -Dqvjvm_DIR=${package}/lib/cmake/qvjvm)
run("building the consumer" ${CMAKE_COMMAND} --build ${FOLDER}/consumer)

function(expect program text)
  run(${program} ${EMULATOR} ${FOLDER}/consumer/bin/${program}.exe)
  if(NOT output MATCHES "${text}")
    message(FATAL_ERROR "${program} printed:\n${output}\nand not: ${text}")
  endif()
endfunction()
# The same with a compiler alone, which pkg-config tells where all is.
run("pkg-config" ${CMAKE_COMMAND} -E env PKG_CONFIG_LIBDIR=${package}/lib/pkgconfig pkg-config --cflags --libs qvjvm)
separate_arguments(flags UNIX_COMMAND "${output}")
file(REMOVE ${FOLDER}/consumer/bin/linked.exe)
run("the compiler" ${COMPILER} ${SOURCE}/linked.c -o ${FOLDER}/consumer/bin/linked.exe ${flags})
expect(linked "2147483647[^0-9]*java.lang.NumberFormatException: For input string: \"seventeen\"")
expect(callbacks ".a, by, three.")
expect(loaded "1 .one.")
expect(wrapped "2 .one, two.")
