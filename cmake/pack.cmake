# Packs what CPack has laid out into a zip whose bytes depend on the files alone: in the order of their names, all of one time.
# That is SOURCE_DATE_EPOCH (seconds since 1970), or the time of the last commit, or 1980. CPack runs this and gives the
# variables that begin with CPACK_.
set(time "$ENV{SOURCE_DATE_EPOCH}")
if(time STREQUAL "")
  execute_process(COMMAND git log -1 --format=%ct WORKING_DIRECTORY ${CMAKE_CURRENT_LIST_DIR} OUTPUT_VARIABLE time
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT time MATCHES "^[0-9]+$")
  set(time 315532800)
endif()
set(ENV{SOURCE_DATE_EPOCH} ${time})
string(TIMESTAMP time "%Y-%m-%d %H:%M:%S UTC" UTC)
set(zip ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.zip)
cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH top)
file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${top} ${CPACK_TEMPORARY_DIRECTORY}/*)
list(SORT files)
list(JOIN files "\n" list)
file(WRITE ${top}/files.txt "${list}\n")
file(REMOVE ${zip})
set(ENV{TZ} UTC)  # a zip has local times
execute_process(COMMAND ${CMAKE_COMMAND} -E tar cf ${zip} --format=zip "--mtime=${time}" --files-from=${top}/files.txt
                WORKING_DIRECTORY ${top} COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_EXTERNAL_BUILT_PACKAGES ${zip})
