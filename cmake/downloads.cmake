# Where ./run puts the Java runtimes (subfolders 11, 17, 21, 25) and the jars that tests and examples use.
set(qv_cache "$ENV{QV_CACHE}")
if(NOT qv_cache)
  set(qv_cache ${CMAKE_SOURCE_DIR}/.cache)
endif()
set(QV_RUNTIMES_DIR ${qv_cache}/runtimes CACHE PATH "Java runtimes for Windows, one folder for each major version")
set(QV_JARS_DIR ${qv_cache}/jars CACHE PATH "The jars of examples/pom.xml, at their places")
# A .NET Core runtime for Windows, which ./test puts beside them.
cmake_path(GET QV_RUNTIMES_DIR PARENT_PATH QV_DOTNET_DIR)
cmake_path(APPEND QV_DOTNET_DIR dotnet/dotnetcore2/bin)

# The scripts of Linux fetch them before; on Windows configuring does.
option(QV_DOWNLOAD "Fetch the Java runtimes and the jars, with pip and Maven" OFF)
if(QV_DOWNLOAD)
  execute_process(COMMAND ${CMAKE_COMMAND} -DCACHE=${qv_cache} -P ${CMAKE_SOURCE_DIR}/tools/download.cmake COMMAND_ERROR_IS_FATAL ANY)
endif()
