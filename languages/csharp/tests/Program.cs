using System;
using System.IO;
using Qvjvm;

/// <summary>The tests that share one Java VM, or one of those that want a process of their own.
/// Usage: tests values RUNTIME JAR [PART OF A NAME] | tests start SERVICES RUNTIME | tests nojava |
/// tests exit RUNTIME | tests joined RUNTIME JAR</summary>
static class Program
{
    internal static JavaVm Java;

    static int Main(string[] arguments)
    {
        switch (arguments[0])
        {
            case "values":
                string log = "check-jni-" + Path.GetFileName(arguments[1]) + ".log";
                File.Delete(Path.Combine(AppContext.BaseDirectory, log));
                JavaOptions options = new JavaOptions
                {
                    Runtime = arguments[1],
                    Compiled = true,
                    HeapBytes = 256 << 20,
                    LogFile = log
                };
                options.ClassPath.Add(arguments[2]);
                options.Options.Add("-Xcheck:jni");
                // As under Wine wherever many threads end: no collection waits for a thread of the Java VM's that has yet to
                // start.
                options.Options.Add("-XX:-UseDynamicNumberOfGCThreads");
                options.Options.Add("-XX:-UseDynamicNumberOfCompilerThreads");
                options.Properties["greeting"] = "Grüße aus C#";
                Java = JavaVm.Start(options);
                return Harness.Run(arguments.Length > 3 ? arguments[3] : null, typeof(ValueTests), typeof(ArrayTests),
                                   typeof(ErrorTests), typeof(LifetimeTests), typeof(CheckJniTests), typeof(VmTests));
            case "start":
                StartTests.Services = arguments[1];
                StartTests.Runtime = arguments[2];
                return Harness.Run(null, typeof(StartTests));
            case "exit":
                Java = JavaVm.Start(new JavaOptions { Runtime = arguments[1] });
                LifetimeTests.EndTheProcess(7);
                return 1;
            case "nojava":
                return Harness.Run(null, typeof(NoJavaTests));
            case "joined":
                JoinedTests.Runtime = arguments[1];
                JoinedTests.Jar = arguments[2];
                return Harness.Run(null, typeof(JoinedTests));
            default:
                return 2;
        }
    }
}
