# Finds the compiler and the archiver of a JDK, for the Java classes of tests and examples.
file(GLOB jdks /usr/lib/jvm/*)
list(TRANSFORM jdks APPEND /bin)
foreach(tool IN ITEMS javac jar)
  string(TOUPPER QV_${tool} variable)
  find_program(
    ${variable} ${tool}
    HINTS $ENV{JAVA_HOME}/bin /usr/lib/jvm/default-java/bin
    PATHS ${jdks}
    REQUIRED)
endforeach()
