using System;
using System.IO;
using Qvjvm;

/// <summary>A process that finds no Java.</summary>
static class NoJavaTests
{
    public static void ThereIsNone()
    {
        const string Text = "no Java runtime was found; JAVA_HOME is not set";
        JavaStartException first = Check.Throws<JavaStartException>(() => JavaVm.Start(), Text);
        Check.Equal(unchecked((int)0x80004005), first.HResult);
        Check.Throws<JavaStartException>(() => JavaVm.Start(), Text);
        Check.Throws<JavaStartException>(() => JavaVm.Start(new JavaOptions { Library = @"C:\other\qvjvm.dll" }), "already");
    }
}

/// <summary>Starts that fail, in an order in which the last one does not: the folder of this program has neither the service
/// nor the host library at first.</summary>
static class StartTests
{
    internal static string Services;
    internal static string Runtime;

    public static void MoreAndMoreIsThere()
    {
        string here = AppContext.BaseDirectory;
        string alone = Path.Combine(here, "alone");
        Directory.CreateDirectory(alone);
        foreach (string name in new[] { "qvjvm.dll", "qvshr.dll", @"alone\qvjvm.dll" }) File.Delete(Path.Combine(here, name));

        Check.Throws<JavaStartException>(() => JavaVm.Start(), "cannot find qvjvm.dll");
        Check.Throws<JavaStartException>(() => JavaVm.Start(new JavaOptions { Library = @"alone\qvjvm.dll" }), "not there");
        Copy("qvjvm.dll", alone);
        JavaStartException missing = Check.Throws<JavaStartException>(
            () => JavaVm.Start(new JavaOptions { Library = @"alone\qvjvm.dll" }), "qvshr.dll is not beside it");
        Check.Equal(unchecked((int)0x8007007e), missing.HResult);
        Check.Throws<JavaStartException>(() => JavaVm.Start(new JavaOptions { Library = "Qvjvm.dll.config" }), "cannot load");
        Check.Throws<JavaStartException>(() => JavaVm.Start(new JavaOptions { Library = @"C:\windows\system32\user32.dll" }),
                                         "is not the Java VM Service");

        Copy("qvjvm.dll", here);
        Check.Throws<JavaStartException>(() => JavaVm.Start(), "qvshr.dll is not beside it");
        Copy("qvshr.dll", here);

        Check.Throws<ArgumentException>(() => JavaVm.Start(new JavaOptions { Runtime = "no-runtime" }), here + "no-runtime");
        Check.Throws<ArgumentException>(() => JavaVm.Start(new JavaOptions { Runtime = "" }));
        Check.Throws<ArgumentException>(() => JavaVm.Start(new JavaOptions { Runtime = Runtime + "\0" }));
        Check.Throws<ArgumentException>(() => JavaVm.Start(new JavaOptions { HeapBytes = -1 }));
        Check.Throws<ArgumentException>(() => JavaVm.Start(new JavaOptions { LogFilesKept = -1 }));
        foreach (string option in new[] { null, "", "Xmx5m", "-a\0b" })
        {
            JavaOptions wrong = new JavaOptions();
            wrong.Options.Add(option);
            Check.Throws<ArgumentException>(() => JavaVm.Start(wrong), "begins with '-'");
        }
        foreach (string entry in new[] { null, "", "a\0b", @"no-folder\*" })
        {
            JavaOptions wrong = new JavaOptions { Runtime = Runtime };
            wrong.ClassPath.Add(entry);
            Check.Throws<ArgumentException>(() => JavaVm.Start(wrong));
        }
        JavaOptions nameless = new JavaOptions();
        nameless.Properties[""] = "x";
        Check.Throws<ArgumentException>(() => JavaVm.Start(nameless), "no name");

        Directory.CreateDirectory(Path.Combine(here, "lib"));
        foreach (string jar in new[] { "b.JAR", "A.jar", "c.txt" }) File.WriteAllText(Path.Combine(here, "lib", jar), "");
        string log = Path.Combine(here, "java.log");
        File.WriteAllText(log, "an older one");
        File.Delete(log + ".1");
        JavaOptions right = new JavaOptions { Runtime = Runtime + @"\", LogFile = "java.log", LogFilesKept = 1 };
        right.ClassPath.Add(@"lib\*");
        JavaVm java = JavaVm.Start(right);
        Check.Equal(JavaIgnored.None, java.Ignored);
        Check.Contains(here + @"lib\A.jar;" + here + @"lib\b.JAR", java.ClassPath);
        Check.True(java.ClassPath.IndexOf("c.txt", StringComparison.Ordinal) < 0, "jars alone");
        Check.Equal(log, java.LogFile);
        Check.Equal("an older one", File.ReadAllText(log + ".1"));
        Check.Equal(null, Environment.GetEnvironmentVariable("JAVA_HOME"));
    }

    private static void Copy(string file, string folder)
    {
        File.Copy(Path.Combine(Services, file), Path.Combine(folder, file), true);
    }
}
