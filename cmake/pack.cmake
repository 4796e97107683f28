# CPack runs this, with its variables, when it has laid out the package.
set(zip ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.zip)
execute_process(COMMAND ${CPACK_QV_PYTHON} ${CMAKE_CURRENT_LIST_DIR}/pack.py ${CPACK_TEMPORARY_DIRECTORY} ${zip}
                COMMAND_ERROR_IS_FATAL ANY)
# Beside it, as sha256sum and its likes read it.
file(SHA256 ${zip} sum)
file(WRITE ${zip}.sha256 "${sum}  ${CPACK_PACKAGE_FILE_NAME}.zip\n")
set(CPACK_EXTERNAL_BUILT_PACKAGES ${zip} ${zip}.sha256)
