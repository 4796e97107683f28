# Headers for Java classes, written while the project is built:
#
#   qvjvm_bind(<target> CLASSES <class, package.* or module/*>... [CLASSPATH <jar or folder>...] [OUTPUT <folder>]
#              [TEXT wide|utf8] [TRY] [MACROS <name>...] [JAVA_HOME <folder>] [DEPENDS <file or target>...])
#
# The sources that the target has get the folder among their include paths, and are compiled again when the headers were
# written again: when a jar of the class path changes, a class in a folder of it, or what DEPENDS names. Each target has
# an OUTPUT of its own, below the binary folder unless it is given. The tool needs a Java runtime, JAVA_HOME or the one
# that it finds; cross-compiled, it runs by CMAKE_CROSSCOMPILING_EMULATOR.
include_guard()

# The tool runs on Windows, or where programs of it have the root folder as drive Z.
function(_qvjvm_windows_path out path)
  cmake_path(ABSOLUTE_PATH path BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
  if(CMAKE_HOST_UNIX)
    set(path Z:${path})
  endif()
  set(${out} ${path} PARENT_SCOPE)
endfunction()

# When the folder's targets have all their sources.
function(_qvjvm_bind_sources target stamp)
  get_target_property(sources ${target} SOURCES)
  if(sources)
    list(FILTER sources EXCLUDE REGEX "\\$<")
    set_property(SOURCE ${sources} TARGET_DIRECTORY ${target} APPEND PROPERTY OBJECT_DEPENDS ${stamp})
  endif()
endfunction()

function(qvjvm_bind target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "TRY" "OUTPUT;TEXT;JAVA_HOME" "CLASSES;CLASSPATH;MACROS;DEPENDS")
  if(arg_UNPARSED_ARGUMENTS OR arg_KEYWORDS_MISSING_VALUES OR NOT arg_CLASSES)
    message(FATAL_ERROR "qvjvm_bind(<target> CLASSES <class>... [CLASSPATH <place>...] [OUTPUT <folder>] [TEXT wide|utf8] "
                        "[TRY] [MACROS <name>...] [JAVA_HOME <folder>] [DEPENDS <file>...])")
  endif()
  if(NOT arg_OUTPUT)
    set(arg_OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${target}_java)
  endif()
  cmake_path(ABSOLUTE_PATH arg_OUTPUT BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} NORMALIZE)
  file(MAKE_DIRECTORY ${arg_OUTPUT})

  set(places)
  set(depends ${arg_DEPENDS})
  foreach(place IN LISTS arg_CLASSPATH)
    cmake_path(ABSOLUTE_PATH place BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    if(IS_DIRECTORY ${place})
      file(GLOB_RECURSE classes CONFIGURE_DEPENDS ${place}/*.class)
      list(APPEND depends ${classes})
    else()
      list(APPEND depends ${place})
    endif()
    _qvjvm_windows_path(place ${place})
    list(APPEND places ${place})
  endforeach()
  _qvjvm_windows_path(out ${arg_OUTPUT})
  set(options --quiet --out ${out})
  if(places)
    list(JOIN places "$<SEMICOLON>" places)
    list(APPEND options --class-path "${places}")
  endif()
  if(arg_TEXT)
    list(APPEND options --text ${arg_TEXT})
  endif()
  foreach(macro IN LISTS arg_MACROS)
    list(APPEND options --macro ${macro})
  endforeach()
  if(arg_TRY)
    list(APPEND options --try)
  endif()
  set(launch)
  if(arg_JAVA_HOME)
    _qvjvm_windows_path(home ${arg_JAVA_HOME})
    set(launch ${CMAKE_COMMAND} -E env JAVA_HOME=${home})
  endif()

  set(stamp ${arg_OUTPUT}/qvjvm-bind.stamp)
  add_custom_command(
    OUTPUT ${stamp}
    COMMAND ${launch} ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:qvjvm::bind> ${options} ${arg_CLASSES}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${depends} qvjvm::bind
    COMMENT "Java classes for ${target}"
    VERBATIM)
  add_custom_target(${target}_java DEPENDS ${stamp})
  add_dependencies(${target} ${target}_java)

  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE ${arg_OUTPUT})
  else()
    target_include_directories(${target} PRIVATE ${arg_OUTPUT})
    cmake_language(EVAL CODE "cmake_language(DEFER CALL _qvjvm_bind_sources [[${target}]] [[${stamp}]])")
  endif()
endfunction()
