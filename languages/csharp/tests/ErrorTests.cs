using System;
using System.Threading;
using Qvjvm;

/// <summary>Java's exceptions, and what is refused before Java is called.</summary>
static class ErrorTests
{
    private static JavaClass Sample
    {
        get { return Program.Java.FindClass("qvcs.Sample"); }
    }

    private static JavaException Thrown(Action action, string cls)
    {
        JavaException thrown = Check.Throws<JavaException>(action);
        Check.Equal(cls, thrown.JavaClassName);
        return thrown;
    }

    public static void AnExceptionWithCauses()
    {
        JavaObject sample = Sample.New();
        JavaException outer = Thrown(() => sample.Call("fail", "(Ljava/lang/String;)V", "Größe\0"),
                                     "java.lang.IllegalStateException");
        Check.Equal("Größe\0", outer.JavaMessage);
        Check.Equal("java.lang.IllegalStateException: Größe\0", outer.Message);
        JavaException middle = (JavaException)outer.InnerException;
        Check.Equal("java.lang.IllegalArgumentException: in between", middle.Message);
        JavaException inner = (JavaException)middle.InnerException;
        Check.Equal("java.io.IOException", inner.JavaClassName);
        Check.Equal(null, inner.InnerException);
        Check.Contains("at qvcs.Sample.fail(Sample.java:", outer.JavaStackTrace);
        Check.Contains("Caused by: java.io.IOException: the disk is full", outer.JavaStackTrace);
        Check.Contains("Caused by: java.io.IOException: the disk is full", outer.ToString());
        Check.Contains("AnExceptionWithCauses", outer.ToString());
        Check.Equal("the disk is full", inner.Throwable.Call<string>("getMessage", "()Ljava/lang/String;"));
        Check.True(outer.Throwable.IsInstanceOf(Program.Java.FindClass("java.lang.RuntimeException")), "unchecked");
        outer.Throwable.Dispose();
        Check.Contains("fail", outer.JavaStackTrace);
        JavaException other = Check.Throws<JavaException>(() => sample.Call("fail", "(Ljava/lang/String;)V", "x"));
        other.Throwable.Dispose();
        Check.Equal("", other.JavaStackTrace);
    }

    public static void AnExceptionWithoutAMessage()
    {
        JavaObject each = Program.Java.New("java.util.ArrayList").Call<JavaObject>("iterator", "()Ljava/util/Iterator;");
        JavaException thrown =
            Thrown(() => each.Call("next", "()Ljava/lang/Object;"), "java.util.NoSuchElementException");
        Check.Equal(null, thrown.JavaMessage);
        Check.Equal("java.util.NoSuchElementException", thrown.Message);
    }

    public static void ExceptionsThatTellBadly()
    {
        Check.Equal("qvcs.Sample$Silent", Thrown(() => Sample.CallStatic("silent", "()V"), "qvcs.Sample$Silent").Message);
        JavaClass circles = Program.Java.FindClass("qvcs.Sample$Circle");
        JavaException circle = Check.Throws<JavaException>(() => circles.CallStatic("fly", "()V"));
        int depth = 0;
        for (Exception each = circle; each != null; each = each.InnerException) ++depth;
        Check.True(depth > 2 && depth < 100, "a circle that ends");
    }

    public static void MissingThings()
    {
        JavaObject sample = Sample.New();
        Thrown(() => Program.Java.FindClass("no.such.Class"), "java.lang.NoClassDefFoundError");
        string[] names =
        {
            "", "qvcs.Sample\0x", "[", "[Q", "[[Ljava.lang.String", "Grüße", "a/b//c", new string('x', 70000)
        };
        foreach (string name in names)
        {
            Check.Throws<JavaException>(() => Program.Java.FindClass(name));
        }
        Thrown(() => sample.Call("missing", "()V"), "java.lang.NoSuchMethodError");
        Thrown(() => sample.Call("add", "(J)V", 1L), "java.lang.NoSuchMethodError");
        Thrown(() => sample.Call("add\0", "(I)V", 1), "java.lang.NoSuchMethodError");
        Thrown(() => sample.Call("sAdd", "(I)V", 1), "java.lang.NoSuchMethodError");
        Thrown(() => Sample.CallStatic("add", "(I)V", 1), "java.lang.NoSuchMethodError");
        Thrown(() => Sample.CallStatic("missing", "()V"), "java.lang.NoSuchMethodError");
    }

    public static void WrongSignatures()
    {
        JavaObject sample = Sample.New();
        foreach (string signature in new[]
        {
            "", "I", "(", "()", "(I", "I)V", "()VV", "(V)V", "(Q)V", "([)V", "(L)V", "(L;)V", "(Ljava/lang/String)V",
            "(Ljava.lang.String;)V", "()[V", "() V", "(I)V ", "(" + new string('[', 256) + "I)V"
        })
        {
            Check.Throws<ArgumentException>(() => sample.Call("add", signature, 1), "the signature");
        }
        Check.Throws<ArgumentException>(() => sample.Call("<init>", "()V"), "<init>");
        Check.Throws<ArgumentException>(() => Sample.CallStatic("<clinit>", "()V"), "<clinit>");
        Check.Throws<ArgumentException>(() => sample.Call("", "()V"));
    }

    public static void WrongCountsAndResults()
    {
        JavaObject sample = Sample.New();
        Check.Throws<ArgumentException>(() => sample.Call("add", "(I)V"), "takes 1 arguments, not 0");
        Check.Throws<ArgumentException>(() => sample.Call("add", "(I)V", 1, 2), "not 2");
        Check.Throws<ArgumentException>(() => sample.Call<int>("add", "(I)V", 1), "void");
        Check.Throws<ArgumentException>(() => sample.Call<long>("next", "(I)I", 1));
        Check.Throws<ArgumentException>(() => sample.Call<string>("next", "(I)I", 1));
        Check.Throws<ArgumentException>(() => sample.Call<DateTime>("same", "(Ljava/lang/Object;)Ljava/lang/Object;", "x"));
        Check.Throws<ArgumentException>(() => sample.Call<object>("same", "(Ljava/lang/Object;)Ljava/lang/Object;", "x"));
        Check.Equal(0, sample.Get<int>("anInt", "I"));
    }

    public static void WrongReferences()
    {
        const string Add = "(Ljava/util/Collection;)Z";
        JavaObject list = Program.Java.New("java.util.ArrayList");
        Check.Throws<ArgumentException>(() => list.Call<bool>("addAll", Add, "text"), "argument 1 of addAll is a System.");
        Check.Throws<ArgumentException>(() => list.Call<bool>("addAll", Add, Sample.New()), "a qvcs.Sample");
        Check.Throws<ArgumentException>(() => list.Call<bool>("addAll", Add, 5), "Int32");
        Check.Throws<ArgumentException>(() => list.Call<bool>("addAll", Add, new int[1]), "Int32[]");
        Check.Throws<ArgumentException>(() => list.Call<bool>("addAll", Add, Sample), "java.lang.Class");
        Check.Equal(0, list.Call<int>("size", "()I"));
    }

    public static void NullPointersInCompiledCode()
    {
        JavaObject sample = Sample.New("(ILjava/lang/String;)", 1, "");
        Check.Equal(200000, Sample.CallStatic<int>("dereferenceOften", "(Lqvcs/Sample;I)I", sample, 200000));
        for (int i = 0; i < 3; ++i)
        {
            Thrown(() => Sample.CallStatic<int>("dereferenceOften", "(Lqvcs/Sample;I)I", null, 5),
                   "java.lang.NullPointerException");
        }
    }

    public static void AStackThatIsTooDeep()
    {
        Exception seen = null;
        Thread thread = new Thread(() =>
        {
            try
            {
                Thrown(() => Sample.CallStatic<int>("deep", "(I)I", 0), "java.lang.StackOverflowError");
                Thrown(() => Sample.CallStatic<int>("deep", "(I)I", 0), "java.lang.StackOverflowError");
            }
            catch (Exception thrown)
            {
                seen = thrown;
            }
        }, 1 << 20);
        thread.Start();
        thread.Join();
        if (seen != null) throw seen;
    }

    public static void NoMemoryInJava()
    {
        Thrown(() => Sample.CallStatic<long[]>("tooMuch", "()[J"), "java.lang.OutOfMemoryError");
        Thrown(() => Program.Java.FindClass("java.lang.String").NewArray(int.MaxValue), "java.lang.OutOfMemoryError");
    }

    public static void AClassThatCannotBegin()
    {
        JavaException first =
            Thrown(() => Program.Java.FindClass("qvcs.Base$Broken"), "java.lang.ExceptionInInitializerError");
        Check.Equal("java.lang.IllegalStateException: cannot begin", first.InnerException.Message);
        Thrown(() => Program.Java.FindClass("qvcs.Base$Broken"), "java.lang.NoClassDefFoundError");
    }

    public static void AfterAnExceptionEverythingGoesOn()
    {
        JavaObject sample = Sample.New();
        for (int i = 0; i < 100; ++i)
        {
            Check.Throws<JavaException>(() => sample.Call("fail", "(Ljava/lang/String;)V", "x"));
            sample.Call("add", "(I)V", 1);
        }
        Check.Equal(100, sample.Get<int>("anInt", "I"));
    }
}
