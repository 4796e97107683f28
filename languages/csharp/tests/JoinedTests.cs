using System;
using System.Runtime.InteropServices;
using Qvjvm;

/// <summary>A process whose Java VM is somebody else's.</summary>
static unsafe class JoinedTests
{
    internal static string Runtime;
    internal static string Jar;

    [StructLayout(LayoutKind.Sequential)]
    private struct Option
    {
        internal IntPtr Text;
        internal IntPtr Extra;
    }

    [StructLayout(LayoutKind.Sequential)]
    private struct Arguments
    {
        internal int Version;
        internal int Count;
        internal Option* Options;
        internal byte Ignore;
    }

    private delegate int CreateFn(out IntPtr vm, out IntPtr env, Arguments* arguments);

    [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true)]
    private static extern IntPtr LoadLibraryExW(string path, IntPtr file, int flags);

    [DllImport("kernel32.dll", CharSet = CharSet.Ansi, ExactSpelling = true)]
    private static extern IntPtr GetProcAddress(IntPtr module, string name);

    [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true)]
    private static extern int SetDllDirectoryW(string path);

    public static void TheServiceJoins()
    {
        SetDllDirectoryW(Runtime + @"\bin"); // for what the Java VM loads by name
        IntPtr jvm = LoadLibraryExW(Runtime + @"\bin\server\jvm.dll", IntPtr.Zero, 8);
        CreateFn create = Marshal.GetDelegateForFunctionPointer<CreateFn>(GetProcAddress(jvm, "JNI_CreateJavaVM"));
        Option option = new Option { Text = Marshal.StringToHGlobalAnsi("-Djava.class.path=" + Jar) };
        Arguments arguments = new Arguments { Version = 0x00010006, Count = 1, Options = &option };
        Check.Equal(0, create(out IntPtr vm, out IntPtr env, &arguments));

        JavaOptions options = new JavaOptions { HeapBytes = 1 << 30 };
        options.Options.Add("-Xint");
        options.Properties["a"] = "b";
        JavaVm java = JavaVm.Start(options);
        Check.Equal(false, java.IsCreated);
        Check.Equal(JavaIgnored.Heap | JavaIgnored.Options | JavaIgnored.Properties, java.Ignored);
        Check.True(java.JavaVersion.Length != 0, "the version is Java's");
        using (JavaClass sample = java.FindClass("qvcs.Sample"))
        using (JavaObject made = sample.New("(ILjava/lang/String;)", 1, "joined"))
        {
            Check.Equal("joined", made.Get<string>("aString", "Ljava/lang/String;"));
        }
        JavaException missing = Check.Throws<JavaException>(() => java.FindClass("no.such.Class"));
        Check.Contains("no", missing.JavaMessage);
    }
}
