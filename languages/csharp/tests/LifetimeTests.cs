using System;
using System.Collections.Generic;
using System.Runtime.CompilerServices;
using System.Threading;
using Qvjvm;

/// <summary>References, threads, and objects that are gone.</summary>
static class LifetimeTests
{
    private static JavaClass Sample
    {
        get { return Program.Java.FindClass("qvcs.Sample"); }
    }

    /// <summary>Lets finalizers put what is forgotten on the list, and a call empty it.</summary>
    private static long LiveAfterCollection()
    {
        for (int i = 0; i < 3; ++i)
        {
            GC.Collect();
            GC.WaitForPendingFinalizers();
        }
        Program.Java.ToJava(1).Dispose();
        return Program.Java.LiveReferences;
    }

    public static void UseAfterDispose()
    {
        JavaObject sample = Sample.New();
        JavaClass cls = Program.Java.FindClass("qvcs.Sample");
        JavaArray array = (JavaArray)Program.Java.ToJava(new[] { 1 });
        JavaObject list = Program.Java.New("java.util.ArrayList");
        sample.Dispose();
        sample.Dispose();
        cls.Dispose();
        array.Dispose();
        Check.Throws<ObjectDisposedException>(() => sample.Call("add", "(I)V", 1), "JavaObject");
        Check.Throws<ObjectDisposedException>(() => sample.Call<int>("next", "(I)I", 1));
        Check.Throws<ObjectDisposedException>(() => sample.Get<int>("anInt", "I"));
        Check.Throws<ObjectDisposedException>(() => sample.Set("anInt", "I", 1));
        Check.Throws<ObjectDisposedException>(() => sample.GetClass());
        Check.Throws<ObjectDisposedException>(() => sample.ClassName.ToString());
        Check.Throws<ObjectDisposedException>(() => sample.As<string>());
        Check.Throws<ObjectDisposedException>(() => sample.Equals(list));
        Check.Throws<ObjectDisposedException>(() => sample.GetHashCode());
        Check.Throws<ObjectDisposedException>(() => sample.IsInstanceOf(Sample));
        Check.Throws<ObjectDisposedException>(() => list.IsInstanceOf(cls));
        Check.Throws<ObjectDisposedException>(() => list.IsSame(sample));
        Check.Throws<ObjectDisposedException>(() => list.Call<bool>("add", "(Ljava/lang/Object;)Z", sample));
        Check.Throws<ObjectDisposedException>(() => Program.Java.ToJava(new object[] { "a", sample }));
        Check.Throws<ObjectDisposedException>(() => cls.New());
        Check.Throws<ObjectDisposedException>(() => cls.CallStatic("sAdd", "(I)V", 1));
        Check.Throws<ObjectDisposedException>(() => cls.GetStatic<int>("sInt", "I"));
        Check.Throws<ObjectDisposedException>(() => cls.Name.ToString());
        Check.Throws<ObjectDisposedException>(() => cls.NewArray(1), "JavaClass");
        Check.Throws<ObjectDisposedException>(() => array.Get<int>(0), "JavaArray");
        Check.Throws<ObjectDisposedException>(() => array.Set(0, 1));
        Check.Throws<ObjectDisposedException>(() => array.CopyTo(0, new int[1], 0, 1));
        Check.Equal("(disposed)", sample.ToString());
        Check.Equal(0, list.Call<int>("size", "()I"));
    }

    public static void AHundredThousandObjects()
    {
        long before = LiveAfterCollection();
        using (JavaClass sample = Sample)
        {
            for (int i = 0; i < 50000; ++i)
            {
                using (JavaObject made = sample.New("(ILjava/lang/String;)", i, "text"))
                {
                    if (made.Get<int>("anInt", "I") != i) throw new CheckFailed("object " + i + " has another number");
                }
            }
            Check.True(Program.Java.LiveReferences <= before + 2, "what is disposed of is gone at once");
            Forget(sample, 50000);
        }
        Check.True(LiveAfterCollection() <= before, "what is forgotten is gone after a collection");
    }

    [MethodImpl(MethodImplOptions.NoInlining)]
    private static void Forget(JavaClass cls, int count)
    {
        List<JavaObject> all = new List<JavaObject>(count);
        long before = Program.Java.LiveReferences;
        for (int i = 0; i < count; ++i) all.Add(cls.New());
        Check.True(Program.Java.LiveReferences >= before + count, "each is counted");
        GC.KeepAlive(all);
    }

    public static void WhatWasPassedAroundIsGoneToo()
    {
        using (JavaObject list = Program.Java.New("java.util.ArrayList"))
        using (JavaClass type = Program.Java.FindClass("java.util.ArrayList"))
        using (JavaClass objects = Program.Java.FindClass("java.lang.Object"))
        using (JavaArray array = objects.NewArray(1))
        {
            long before = LiveAfterCollection();
            JavaObject passed = Program.Java.New("java.util.ArrayList");
            Check.Equal(false, list.Call<bool>("contains", "(Ljava/lang/Object;)Z", passed));
            Check.True(!list.IsSame(passed) && passed.IsInstanceOf(type) && passed.Equals(list), "used");
            Program.Java.ToJava(new object[] { passed }).Dispose();
            array.Set(0, passed);
            passed.Dispose();
            Check.Equal(before, Program.Java.LiveReferences);
        }
    }

    public static void FailuresLeaveNothing()
    {
        JavaObject list = Program.Java.New("java.util.ArrayList");
        JavaObject sample = Sample.New();
        Action all = () =>
        {
            Check.Throws<ArgumentException>(() => list.Call<bool>("addAll", "(ILjava/util/Collection;)Z", 1, "text"));
            Check.Throws<InvalidCastException>(() => list.Call<string>("clone", "()Ljava/lang/Object;"));
            Check.Throws<InvalidCastException>(
                () => Program.Java.ToJava(new object[] { "a", 1 }).As<string[]>());
            Check.Throws<JavaException>(() => sample.Call("fail", "(Ljava/lang/String;)V", "x"));
        };
        all();
        long before = LiveAfterCollection();
        for (int i = 0; i < 200; ++i) all();
        Check.True(LiveAfterCollection() <= before, "no reference stays");
        GC.KeepAlive(list);
        GC.KeepAlive(sample);
    }

    public static void JavaForgetsWhatDotNetLetsGo()
    {
        JavaObject watched = Sample.CallStatic<JavaObject>("watch", "()Ljava/lang/Object;");
        Check.Equal(false, Sample.CallStatic<bool>("isGone", "()Z"));
        watched.Dispose();
        bool gone = false;
        for (int i = 0; i < 50 && !gone; ++i) gone = Sample.CallStatic<bool>("isGone", "()Z");
        Check.True(gone, "collected by Java");
        Watch();
        LiveAfterCollection();
        gone = false;
        for (int i = 0; i < 50 && !gone; ++i) gone = Sample.CallStatic<bool>("isGone", "()Z");
        Check.True(gone, "collected by Java after .NET's collection");
    }

    [MethodImpl(MethodImplOptions.NoInlining)]
    private static void Watch()
    {
        Sample.CallStatic<JavaObject>("watch", "()Ljava/lang/Object;");
    }

    public static void EightThreadsShareOneObject()
    {
        const int Times = 2000;
        JavaObject counter = Program.Java.New("java.util.concurrent.atomic.AtomicInteger");
        JavaClass numbers = Program.Java.FindClass("java.lang.Integer");
        Parallel(8, thread =>
        {
            for (int i = 0; i < Times; ++i)
            {
                counter.Call<int>("incrementAndGet", "()I");
                string text = thread + "" + i;
                if (numbers.CallStatic<int>("parseInt", "(Ljava/lang/String;)I", text) != int.Parse(text))
                {
                    throw new CheckFailed(text + " came back as another number");
                }
            }
            JavaException thrown = Check.Throws<JavaException>(
                () => numbers.CallStatic<int>("parseInt", "(Ljava/lang/String;)I", "of thread " + thread));
            Check.Contains("of thread " + thread + "\"", thrown.Message);
        });
        Check.Equal(8 * Times, counter.Call<int>("get", "()I"));
    }

    public static void AnObjectIsDisposedOfUnderOthersUse()
    {
        for (int round = 0; round < 50; ++round)
        {
            JavaObject builder = Program.Java.New("java.lang.StringBuilder");
            int disposed = 0;
            Parallel(4, thread =>
            {
                if (thread == 0)
                {
                    Thread.Yield();
                    builder.Dispose();
                    return;
                }
                try
                {
                    for (;;) builder.Call<int>("length", "()I");
                }
                catch (ObjectDisposedException)
                {
                    Interlocked.Increment(ref disposed);
                }
            });
            Check.Equal(3, disposed);
        }
    }

    public static void ThreadsOfThePool()
    {
        int left = 40;
        int sum = 0;
        using (ManualResetEvent done = new ManualResetEvent(false))
        {
            for (int i = 0; i < 40; ++i)
            {
                ThreadPool.QueueUserWorkItem(number =>
                {
                    using (JavaObject box = Program.Java.ToJava(number)) Interlocked.Add(ref sum, box.As<int>());
                    if (Interlocked.Decrement(ref left) == 0) done.Set();
                }, i);
            }
            Check.True(done.WaitOne(60000), "all have run");
        }
        Check.Equal(780, sum);
    }

    public static void TheContextClassLoader()
    {
        Parallel(1, thread =>
        {
            Check.Equal(false, Sample.CallStatic<bool>("hasLoader", "()Z"));
            Program.Java.UseContextClassLoader();
            Program.Java.UseContextClassLoader();
            Check.Equal(true, Sample.CallStatic<bool>("hasLoader", "()Z"));
        });
    }

    internal static void EndTheProcess(int code)
    {
        Thread busy = new Thread(() =>
        {
            for (;;) Program.Java.ToJava("forgotten");
        });
        busy.IsBackground = true;
        busy.Start();
        while (Program.Java.LiveReferences < 1000) Thread.Yield();
        using (JavaClass system = Program.Java.FindClass("java.lang.System")) system.CallStatic("exit", "(I)V", code);
    }

    private static void Parallel(int count, Action<int> work)
    {
        Exception first = null;
        Thread[] threads = new Thread[count];
        for (int i = 0; i < count; ++i)
        {
            int number = i;
            threads[i] = new Thread(() =>
            {
                try
                {
                    work(number);
                }
                catch (Exception thrown)
                {
                    Interlocked.CompareExchange(ref first, thrown, null);
                }
            });
        }
        foreach (Thread thread in threads) thread.Start();
        foreach (Thread thread in threads) thread.Join();
        if (first != null) throw new Exception("on another thread", first);
    }
}
