# Finds jni.h. A Linux JDK serves for cross-compiling: its types are right on 64-bit Windows too. Debian has a default JDK, if
# its package is there, or any others.
file(GLOB jdks /usr/lib/jvm/*)
list(TRANSFORM jdks APPEND /include)
find_path(
  QV_JNI_INCLUDE jni.h
  HINTS $ENV{JAVA_HOME}/include
  PATHS /usr/lib/jvm/default-java/include ${jdks}
  NO_CMAKE_FIND_ROOT_PATH)
if(NOT QV_JNI_INCLUDE)
  message(FATAL_ERROR "jni.h was not found. Install a JDK (on Debian: default-jdk-headless) or set JAVA_HOME.")
endif()
find_path(
  QV_JNI_MD_INCLUDE jni_md.h
  HINTS ${QV_JNI_INCLUDE}/win32 ${QV_JNI_INCLUDE}/linux
  NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
add_library(qv_jni INTERFACE)
add_library(qv::jni ALIAS qv_jni)
target_include_directories(qv_jni SYSTEM INTERFACE ${QV_JNI_INCLUDE} ${QV_JNI_MD_INCLUDE})
