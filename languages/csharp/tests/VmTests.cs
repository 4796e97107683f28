using System;
using System.IO;
using Qvjvm;

/// <summary>What the Java VM has to say about the JNI calls of the tests before.</summary>
static class CheckJniTests
{
    public static void NoCallWasWrong()
    {
        string log = Program.Java.LogFile;
        if (!File.Exists(log)) return; // it had nothing to say
        using (FileStream file = new FileStream(log, FileMode.Open, FileAccess.Read, FileShare.ReadWrite))
        using (StreamReader reader = new StreamReader(file))
        {
            // "VM warning" is about Wine.
            foreach (string line in reader.ReadToEnd().Split('\n'))
            {
                if (line.Contains("WARNING") || line.Contains("FATAL")) throw new CheckFailed(line);
            }
        }
    }
}

/// <summary>The Java VM, and what its start was asked for.</summary>
static class VmTests
{
    public static void WhatTheStartWasAskedForIsThere()
    {
        JavaVm java = Program.Java;
        Check.True(java.IsCreated, "created");
        Check.Equal(JavaIgnored.None, java.Ignored);
        using (JavaClass system = java.FindClass("java.lang.System"))
        using (JavaClass runtimes = java.FindClass("java.lang.Runtime"))
        using (JavaObject runtime = runtimes.CallStatic<JavaObject>("getRuntime", "()Ljava/lang/Runtime;"))
        {
            const string Get = "(Ljava/lang/String;)Ljava/lang/String;";
            Check.Equal("Grüße aus C#", system.CallStatic<string>("getProperty", Get, "greeting"));
            Check.Equal(null, system.CallStatic<string>("getProperty", Get, "java.compiler"));
            Check.Equal(java.JavaVersion, system.CallStatic<string>("getProperty", Get, "java.version"));
            Check.True(runtime.Call<long>("maxMemory", "()J") <= 256 << 20, "the heap");
        }
        Check.Contains("csharp-tests.jar", java.ClassPath);
    }

    public static void AgainItTellsWhatIsTooLate()
    {
        JavaOptions options = new JavaOptions { HeapBytes = 1, Compiled = true, Runtime = "elsewhere" };
        options.ClassPath.Add("x.jar");
        JavaVm again = JavaVm.Start(options);
        Check.Equal(JavaIgnored.Heap | JavaIgnored.Compiled | JavaIgnored.Runtime | JavaIgnored.ClassPath, again.Ignored);
        Check.Equal("2", again.ToJava(2).ToString());
        Check.Equal(JavaIgnored.None, JavaVm.Start().Ignored);
    }

    public static void TheLog()
    {
        string path = Path.Combine(Path.GetTempPath(), "csharp-log-" + Guid.NewGuid() + ".txt");
        string before = Program.Java.LogFile;
        Program.Java.LogFile = path;
        Check.Equal(path, Program.Java.LogFile);
        Program.Java.LogFile = before;
        Check.Throws<ArgumentNullException>(() => Program.Java.LogFile = null);
        Check.Throws<ArgumentException>(() => Program.Java.LogFile = "a\0b");
        JavaVm.Start(new JavaOptions { LogFile = path });
        Check.Equal(path, Program.Java.LogFile);
        Program.Java.LogFile = before;
        File.Delete(path);
    }
}
