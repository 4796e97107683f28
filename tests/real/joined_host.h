// The JVM that the service joins, and whose it is: a native program's that made it itself, under a name that the
// service knows or does not know, or a Java program's. The program's classes are in program.jar; what it prints is kept
// for the tests when a native program made it.
#pragma once

#include <jni.h>

#include <string>

namespace qvtest {

enum class HostKind { Unknown, Known, Java };
HostKind KindOfHost();

// Null when it could not be made. The first call of a native program makes it, on the calling thread.
JavaVM* HostVm();
// Called by the library of a Java program before its tests run.
void UseVmOfJavaProgram(JavaVM* vm);

// What the JVM of a native program printed since the last call.
std::string TakeJvmOutput();

}  // namespace qvtest
