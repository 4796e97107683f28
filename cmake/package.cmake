# What "cmake --install" lays down and "cpack" packs: DLLs, headers, import libraries, CMake package, tools, documents.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_LIBDIR lib)  # no name of a Linux system's, even when one cross-compiles

install(TARGETS qvjvm qvshr RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS qvjvm-doctor qvjvm-bind qvjvm-train RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/doctor/report.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/qvjvm RENAME doctor-report.schema.json)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qvjvm DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# Import libraries of both kinds from the one .def file, whichever compiler builds the DLL.
install(FILES $<TARGET_LINKER_FILE:qvjvm> DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(MINGW)
  find_program(QV_LLVM_DLLTOOL llvm-dlltool)
  if(QV_LLVM_DLLTOOL)
    set(import ${CMAKE_CURRENT_BINARY_DIR}/import/qvjvm.lib)
    add_custom_command(
      OUTPUT ${import}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/import
      COMMAND ${QV_LLVM_DLLTOOL} -m i386:x86-64 -d ${PROJECT_SOURCE_DIR}/service/qvjvm.def -l ${import}
      DEPENDS ${PROJECT_SOURCE_DIR}/service/qvjvm.def
      VERBATIM)
    add_custom_target(qvjvm_msvc_import ALL DEPENDS ${import})
    install(FILES ${import} DESTINATION ${CMAKE_INSTALL_LIBDIR})
  else()
    message(STATUS "llvm-dlltool was not found: no import library for MSVC is packed")
  endif()
endif()

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/qvjvmConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/qvjvmConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qvjvm
  PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/qvjvmConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qvjvmConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/qvjvmConfigVersion.cmake
              ${CMAKE_CURRENT_LIST_DIR}/qvjvmBind.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qvjvm)

configure_file(${CMAKE_CURRENT_LIST_DIR}/qvjvm.pc.in ${CMAKE_CURRENT_BINARY_DIR}/qvjvm.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qvjvm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The package's own first page, where one unpacks it and among the documents; that of the checkout is for those who build it.
file(READ ${PROJECT_SOURCE_DIR}/docs/code/client.cpp client)
file(READ ${PROJECT_SOURCE_DIR}/docs/commands/package_gcc.bat gcc)
foreach(place IN ITEMS . ${CMAKE_INSTALL_DOCDIR})
  set(doc "")
  if(place STREQUAL ".")
    set(doc ${CMAKE_INSTALL_DOCDIR}/)
  endif()
  set(readme ${CMAKE_CURRENT_BINARY_DIR}/readme/${place}/README.md)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/package-readme.md.in ${readme} @ONLY)
  install(FILES ${readme} DESTINATION ${place})
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md
              ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md ${PROJECT_SOURCE_DIR}/SECURITY.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs OPTIONAL
        REGEX "/(Doxyfile|\\.clang-[a-z]+|code/CMakeLists\\.txt|commands/follow|code/try-recipes)$" EXCLUDE)
# Where the documents look.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} REGEX "/(tests\\.cmake|check)$" EXCLUDE)

# What the package needs built.
add_custom_target(package_files)
add_dependencies(package_files qvjvm qvshr qvjvm-doctor qvjvm-bind qvjvm-train)
foreach(target IN ITEMS qvjvm_msvc_import qvjvm_csharp)
  if(TARGET ${target})
    add_dependencies(package_files ${target})
  endif()
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/languages DESTINATION ${CMAKE_INSTALL_DOCDIR} REGEX "/(tests|CMakeLists\\.txt|build-tests|check-crate|target)$" EXCLUDE)

find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(CPACK_QV_PYTHON ${Python3_EXECUTABLE})
set(CPACK_GENERATOR External)
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/pack.cmake)
set(CPACK_PACKAGE_FILE_NAME ${QV_PACKAGE})
set(CPACK_PACKAGE_DIRECTORY ${QV_PACKAGE_DIR})
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
