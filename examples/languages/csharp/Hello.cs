// The Java VM Service from C#, through its binary interface alone; the library in languages/csharp does this and more. Build
// it as a 64-bit program and put qvjvm.dll and qvshr.dll beside it.
using System;
using System.Runtime.InteropServices;

static class Hello
{
    [DllImport("qvjvm.dll", CharSet = CharSet.Unicode)]
    static extern int QV_CreateJavaVM(out IntPtr vm, string classPath);

    // The slots that this program uses; docs/slots.md lists them all.
    const int Release = 2, GetErrorText = 5, FindClass = 12, GetStaticIntField = 41, GetJavaVersion = 56;
    const int TextOfString = 5; // of IQvString

    delegate uint ReleaseFn(IntPtr self);
    delegate int GetTextFn(IntPtr self, out IntPtr text);
    delegate IntPtr TextOfStringFn(IntPtr self);
    delegate int FindClassFn(IntPtr self, out IntPtr cls, [MarshalAs(UnmanagedType.LPStr)] string name);
    delegate int GetStaticIntFieldFn(IntPtr self, out int result, IntPtr cls,
                                     [MarshalAs(UnmanagedType.LPStr)] string name);

    // An object is a pointer to a table of functions that take the object first.
    static T Slot<T>(IntPtr self, int number)
    {
        IntPtr table = Marshal.ReadIntPtr(self);
        return Marshal.GetDelegateForFunctionPointer<T>(Marshal.ReadIntPtr(table, number * IntPtr.Size));
    }

    static string TextOf(IntPtr vm, int number)
    {
        if (Slot<GetTextFn>(vm, number)(vm, out IntPtr text) < 0 || text == IntPtr.Zero) return "";
        string copy = Marshal.PtrToStringUni(Slot<TextOfStringFn>(text, TextOfString)(text));
        Slot<ReleaseFn>(text, Release)(text);
        return copy;
    }

    static int Main()
    {
        if (QV_CreateJavaVM(out IntPtr vm, null) < 0) return 3;
        Console.WriteLine("Java " + TextOf(vm, GetJavaVersion));
        if (Slot<FindClassFn>(vm, FindClass)(vm, out IntPtr cls, "java/lang/Integer") < 0)
        {
            Console.Error.WriteLine(TextOf(vm, GetErrorText));
            return 1;
        }
        Slot<GetStaticIntFieldFn>(vm, GetStaticIntField)(vm, out int largest, cls, "MAX_VALUE");
        Console.WriteLine(largest);
        Slot<ReleaseFn>(vm, Release)(vm);
        return 0;
    }
}
