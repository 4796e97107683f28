# Finds the compiler and the archiver of a JDK, for the Java classes of tests and examples.
foreach(tool IN ITEMS javac jar)
  string(TOUPPER QV_${tool} variable)
  find_program(
    ${variable} ${tool}
    HINTS $ENV{JAVA_HOME}/bin /usr/lib/jvm/default-java/bin
    REQUIRED)
endforeach()
