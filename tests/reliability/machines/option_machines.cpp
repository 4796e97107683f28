// Options and class paths. What the JVM's parser refuses is a failed call that may be repeated; what it finds out later
// ends the process, and no embedding program can keep it from that.
#include <gtest/gtest.h>

#include "tests/reliability/machines/machine.h"

namespace qvtest {
namespace {

// The JVM's parser refuses, and a second call with other options works.
Machine Refused(const char* name, void (*breakIt)(World&), const char* says) {
  return {.name = name,
          .breakIt = breakIt,
          .first = First::Fails,
          .second = Second::Starts,
          .says = says,
          .dependsOnRuntime = true};
}

Machine Kept(Machine machine, Second how) {
  machine.second = how;
  return machine;
}

const Machine kOptions[] = {
    Refused(
        "option -Xnosuch", [](World& world) { world.Options({L"-Xnosuch"}); }, "Unrecognized option: -Xnosuch"),
    Refused(
        "option without a hyphen", [](World& world) { world.Options({L"Xmx64m"}); }, "Unrecognized option: Xmx64m"),
    Refused(
        "an empty option",
        [](World& world) {
          world.Options({L"-Xmx64m", L""});
        },
        "Unrecognized option: "),
    Refused(
        "option -XX:NoSuchFlag=1", [](World& world) { world.Options({L"-XX:NoSuchFlag=1"}); },
        "Unrecognized VM option 'NoSuchFlag=1'"),
    Refused(
        "option -XX:+", [](World& world) { world.Options({L"-XX:+"}); }, "Unrecognized VM option"),
    Refused(
        "option -XX:MaxHeapSize=many", [](World& world) { world.Options({L"-XX:MaxHeapSize=many"}); },
        "MaxHeapSize=many"),
    Refused(
        "option -Xmx12q", [](World& world) { world.Options({L"-Xmx12q"}); }, "Invalid maximum heap size: -Xmx12q"),
    Refused(
        "option -Xmx without a number", [](World& world) { world.Options({L"-Xmx"}); },
        "Invalid maximum heap size: -Xmx"),
    Refused(
        "option -Xmx-1", [](World& world) { world.Options({L"-Xmx-1"}); }, "Invalid maximum heap size: -Xmx-1"),
    Refused(
        "option -Xss2g", [](World& world) { world.Options({L"-Xss2g"}); }, "stack size: -Xss2g"),
    Refused(
        "option -XX:ParallelGCThreads=-1", [](World& world) { world.Options({L"-XX:ParallelGCThreads=-1"}); },
        "ParallelGCThreads=-1"),
    Refused(
        "extension folders", [](World& world) { world.Options({L"-Djava.ext.dirs=C:\\ext"}); }, "ext.dirs"),
    Refused(
        "endorsed folders", [](World& world) { world.Options({L"-Djava.endorsed.dirs=C:\\endorsed"}); },
        "-Djava.endorsed.dirs=C:\\endorsed is not supported"),
    Refused(
        "a boot class path in front", [](World& world) { world.Options({L"-Xbootclasspath/p:C:\\b.jar"}); },
        "-Xbootclasspath/p is no longer a supported option"),
    Kept(Refused(
             "a missing file of flags", [](World& world) { world.Options({L"-XX:Flags=C:\\gone.flags"}); },
             "gone.flags"),
         Second::OptionKept),
    Ended("an agent that does not exist", [](World& world) { world.Options({L"-agentlib:nosuchagent"}); }),
    Kept(Refused(
             "JAVA_TOOL_OPTIONS with garbage",
             [](World& world) { world.Break(L"JAVA_TOOL_OPTIONS", L"-Xnosuch", std::nullopt); },
             "Unrecognized option: -Xnosuch"),
         Second::EnvironmentKept),
    Kept(Refused(
             "_JAVA_OPTIONS with garbage",
             [](World& world) { world.Break(L"_JAVA_OPTIONS", L"-Xnosuch", std::nullopt); },
             "Unrecognized option: -Xnosuch"),
         Second::EnvironmentKept),

    Ended("two collectors at once",
          [](World& world) {
            world.Options({L"-XX:+UseSerialGC", L"-XX:+UseG1GC"});
          }),
    Ended("a first heap above the greatest",
          [](World& world) {
            world.Options({L"-Xmx64m", L"-Xms128m"});
          }),
    Ended("a heap of 1 KiB", [](World& world) { world.Options({L"-Xmx1k"}); }),
    Ended("a heap of 900 GiB, all of it at once",
          [](World& world) {
            world.Options({L"-Xmx900g", L"-Xms900g"});
          }),
    Ended("JAVA_TOOL_OPTIONS with a first heap above the greatest",
          [](World& world) { world.Variable(L"JAVA_TOOL_OPTIONS", L"-Xmx900g -Xms900g"); }),
    Ended("a Java agent that does not exist", [](World& world) { world.Options({L"-javaagent:C:\\gone.jar"}); }),
    Ended("a module that does not exist", [](World& world) { world.Options({L"--add-modules=no.such.module"}); }),
    Ended("a system class loader that does not exist",
          [](World& world) { world.Options({L"-Djava.system.class.loader=no.Such"}); }),

    OnEach(Works("a heap of up to 900 GiB", [](World& world) { world.Options({L"-Xmx900g"}); })),
    Works(
        "JDK_JAVA_OPTIONS with garbage", [](World& world) { world.Variable(L"JDK_JAVA_OPTIONS", L"-Xnosuch"); },
        "only the java launcher reads it"),
    Works("a class path of 64 KiB", [](World& world) { world.Argument(L"classpath-units", L"65536"); }),
    Works("CLASSPATH of 32,000 characters",
          [](World& world) { world.Variable(L"CLASSPATH", L"C:\\" + std::wstring(32000, L'c')); }),
    Works("a class path of missing archives",
          [](World& world) {
            world.Argument(L"classpath", L"C:\\gone.jar;Q:\\gone.jar;\\\\nowhere.invalid\\s\\gone.jar");
          }),
    Works("a class path with a corrupt archive",
          [](World& world) {
            world.Argument(L"classpath", world.Folder().WriteFile(L"corrupt.jar", "PK\3\4 and nothing of an archive"));
          }),
    Works("a class path outside the code page",
          [](World& world) { world.Argument(L"classpath", L"C:\\\u65e5\u672c\u8a9e.jar"); }),
    Works("a class path of separators and quotes",
          [](World& world) { world.Argument(L"classpath", L";;\";\";:*?<>|;"); }),
};

QV_MACHINES(OptionMachines, 3, kOptions);

}  // namespace
}  // namespace qvtest
