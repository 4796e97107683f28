# An overlay port: it builds the checkout that it lies in.
#   vcpkg install qvjvm --overlay-ports=packaging/vcpkg --triplet x64-windows   (or x64-mingw-dynamic)
# A JDK must be there, for jni.h: JAVA_HOME says where. Never run: there was no Windows machine to run vcpkg on.
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS
    -DQV_TESTS=OFF
    "-DQV_nlohmann_INCLUDE=${CURRENT_INSTALLED_DIR}/include"
    "-DQV_CLI_INCLUDE=${CURRENT_INSTALLED_DIR}/include")
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/qvjvm)
vcpkg_fixup_pkgconfig()
# The tools stay beside the DLLs that they load.
set(VCPKG_POLICY_ALLOW_EXES_IN_BIN enabled)

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share" "${CURRENT_PACKAGES_DIR}/README.md"
     "${CURRENT_PACKAGES_DIR}/debug/README.md")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
