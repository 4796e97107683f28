using System;
using System.Collections.Generic;
using System.Linq;
using System.Threading.Tasks;
using Qvjvm;

/// <summary>The parts of docs/csharp.md.</summary>
static class Tour
{
    static void Values(JavaVm java)
    {
        using (JavaClass strings = java.FindClass("java.lang.String"))
        using (JavaObject map = java.New("java.util.TreeMap"))
        {
            // Primitive types and strings come as .NET's; in a place for an Object they are in their boxes.
            map.Call("put", "(Ljava/lang/Object;Ljava/lang/Object;)Ljava/lang/Object;", "Ada", 36);
            Console.WriteLine(map.Call<int>("get", "(Ljava/lang/Object;)Ljava/lang/Object;", "Ada"));
            Console.WriteLine(map.Call<int?>("get", "(Ljava/lang/Object;)Ljava/lang/Object;", "Grace") ?? -1);
            // Text is whole, with nulls and all.
            Console.WriteLine(strings.CallStatic<string>("valueOf", "(C)Ljava/lang/String;", '\0').Length);
        }
    }

    static void Arrays(JavaVm java)
    {
        using (JavaClass arrays = java.FindClass("java.util.Arrays"))
        {
            // An array goes to Java and comes from it as a copy.
            byte[] bytes = arrays.CallStatic<byte[]>("copyOf", "([BI)[B", new byte[] { 1, 2, 3 }, 5);
            Console.WriteLine(bytes.Length);
            // One that Java changes stays there.
            using (JavaObject numbers = java.ToJava(new[] { 3, 1, 2 }))
            {
                arrays.CallStatic("sort", "([I)V", numbers);
                Console.WriteLine(string.Join(" ", numbers.As<int[]>()));
            }
        }
    }

    static void Exceptions(JavaVm java)
    {
        try
        {
            using (java.New("java.io.FileReader", "(Ljava/lang/String;)", "not there")) { }
        }
        catch (JavaException thrown) when (thrown.JavaClassName == "java.io.FileNotFoundException")
        {
            Console.WriteLine(thrown.JavaStackTrace.Contains("FileReader"));
        }
    }

    static void Threads(JavaVm java)
    {
        using (JavaObject counter = java.New("java.util.concurrent.atomic.AtomicInteger"))
        {
            IEnumerable<Task> tasks =
                Enumerable.Range(0, 4).Select(n => Task.Run(() => counter.Call("addAndGet", "(I)I", n)));
            Task.WaitAll(tasks.ToArray());
            Console.WriteLine(counter.Call<int>("get", "()I"));
        }
    }

    static JavaVm Start()
    {
        JavaOptions options = new JavaOptions { HeapBytes = 256L << 20, Compiled = true };
        options.ClassPath.Add("reports.jar");
        options.Options.Add("-XX:+UseSerialGC");
        options.Properties["user.language"] = "de";
        return JavaVm.Start(options);
    }

    static void Main()
    {
        JavaVm java = Start();
        Values(java);
        Arrays(java);
        Exceptions(java);
        Threads(java);
    }
}
