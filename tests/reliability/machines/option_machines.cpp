// Options and class paths. What the JVM's parser refuses is a failed call that may be repeated; what it finds out later
// ends the process, and no embedding program can keep it from that.
#include <gtest/gtest.h>

#include "tests/reliability/machines/machine.h"

namespace qvtest {
namespace {

// The JVM's parser refuses, and a second call with other options works.
Machine Refused(const char* name, Break breakIt, const char* says, Second second = Second::Starts) {
  return {.name = name,
          .breakIt = std::move(breakIt),
          .first = First::Fails,
          .second = second,
          .says = says,
          .dependsOnRuntime = true};
}

// A variable with an option that no JVM knows.
Machine Garbage(const char* name, const wchar_t* variable) {
  const auto breakIt = [=](World& world) { world.Break(variable, L"-Xnosuch", std::nullopt); };
  return Refused(name, breakIt, "Unrecognized option: -Xnosuch", Second::EnvironmentKept);
}

const Machine kOptions[] = {
    Refused("option -Xnosuch", Options({L"-Xnosuch"}), "Unrecognized option: -Xnosuch"),
    Rarely(Refused("option without a hyphen", Options({L"Xmx64m"}), "Unrecognized option: Xmx64m")),
    Refused("an empty option", Options({L"-Xmx64m", L""}), "Unrecognized option: "),
    Refused("option -XX:NoSuchFlag=1", Options({L"-XX:NoSuchFlag=1"}), "Unrecognized VM option 'NoSuchFlag=1'"),
    Rarely(Refused("option -XX:+", Options({L"-XX:+"}), "Unrecognized VM option")),
    Rarely(Refused("option -XX:MaxHeapSize=many", Options({L"-XX:MaxHeapSize=many"}), "MaxHeapSize=many")),
    Refused("option -Xmx12q", Options({L"-Xmx12q"}), "Invalid maximum heap size: -Xmx12q"),
    Rarely(Refused("option -Xmx without a number", Options({L"-Xmx"}), "Invalid maximum heap size: -Xmx")),
    Rarely(Refused("option -Xmx-1", Options({L"-Xmx-1"}), "Invalid maximum heap size: -Xmx-1")),
    Rarely(Refused("option -Xss2g", Options({L"-Xss2g"}), "stack size: -Xss2g")),
    Rarely(Refused("option -XX:ParallelGCThreads=-1", Options({L"-XX:ParallelGCThreads=-1"}), "ParallelGCThreads=-1")),
    Refused("extension folders", Options({L"-Djava.ext.dirs=C:\\ext"}), "ext.dirs"),
    Rarely(Refused("endorsed folders", Options({L"-Djava.endorsed.dirs=C:\\endorsed"}),
                   "-Djava.endorsed.dirs=C:\\endorsed is not supported")),
    Rarely(Refused("a boot class path in front", Options({L"-Xbootclasspath/p:C:\\b.jar"}),
                   "-Xbootclasspath/p is no longer a supported option")),
    Refused("a missing file of flags", Options({L"-XX:Flags=C:\\gone.flags"}), "gone.flags", Second::OptionKept),
    Ended("an agent that does not exist", Options({L"-agentlib:nosuchagent"})),
    Garbage("JAVA_TOOL_OPTIONS with garbage", L"JAVA_TOOL_OPTIONS"),
    Rarely(Garbage("_JAVA_OPTIONS with garbage", L"_JAVA_OPTIONS")),

    Ended("two collectors at once", Options({L"-XX:+UseSerialGC", L"-XX:+UseG1GC"})),
    Rarely(Ended("a first heap above the greatest", Options({L"-Xmx64m", L"-Xms128m"}))),
    Rarely(Ended("a heap of 1 KiB", Options({L"-Xmx1k"}))),
    Ended("a heap of 900 GiB, all of it at once", Options({L"-Xmx900g", L"-Xms900g"})),
    Ended("JAVA_TOOL_OPTIONS with a first heap above the greatest",
          Variable(L"JAVA_TOOL_OPTIONS", L"-Xmx900g -Xms900g")),
    Ended("a Java agent that does not exist", Options({L"-javaagent:C:\\gone.jar"})),
    Rarely(Ended("a module that does not exist", Options({L"--add-modules=no.such.module"}))),
    Ended("a system class loader that does not exist", Options({L"-Djava.system.class.loader=no.Such"})),

    OnEach(Works("a heap of up to 900 GiB", Options({L"-Xmx900g"}))),
    Works("JDK_JAVA_OPTIONS with garbage", Variable(L"JDK_JAVA_OPTIONS", L"-Xnosuch"),
          "only the java launcher reads it"),
    Works("a class path of 64 KiB", [](World& world) { world.Argument(L"classpath-units", L"65536"); }),
    Works("CLASSPATH of 32,000 characters", Variable(L"CLASSPATH", L"C:\\" + std::wstring(32000, L'c'))),
    Works("a class path of missing archives", ClassPath(L"C:\\gone.jar;Q:\\gone.jar;\\\\nowhere.invalid\\s\\gone.jar")),
    Works("a class path with a corrupt archive",
          [](World& world) {
            world.Argument(L"classpath", world.folder.WriteFile(L"corrupt.jar", "PK\3\4 and nothing of an archive"));
          }),
    Works("a class path outside the code page", ClassPath(L"C:\\\u65e5\u672c\u8a9e.jar")),
    Works("a class path of separators and quotes", ClassPath(L";;\";\";:*?<>|;")),
};

QV_MACHINES(OptionMachines, 3, kOptions);

}  // namespace
}  // namespace qvtest
