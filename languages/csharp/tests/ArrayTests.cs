using System;
using Qvjvm;

/// <summary>Arrays: whole ones as copies, parts of those that stay in Java.</summary>
static class ArrayTests
{
    private static JavaClass Sample
    {
        get { return Program.Java.FindClass("qvcs.Sample"); }
    }

    public static void EveryTypeGoesThereAndBack()
    {
        Reversed("[Z", new[] { true, false }, new[] { false, true });
        Reversed("[B", new byte[] { 1, 255 }, new byte[] { 255, 1 });
        Reversed("[B", new sbyte[] { 1, -1 }, new sbyte[] { -1, 1 });
        Reversed("[C", new[] { 'a', '\u20ac' }, new[] { '\u20ac', 'a' });
        Reversed("[S", new short[] { 1, -2 }, new short[] { -2, 1 });
        Reversed("[I", new[] { 1, int.MinValue }, new[] { int.MinValue, 1 });
        Reversed("[J", new[] { 1, long.MinValue }, new[] { long.MinValue, 1 });
        Reversed("[F", new[] { 1f, 0.5f }, new[] { 0.5f, 1f });
        Reversed("[D", new[] { 1, 0.5 }, new[] { 0.5, 1 });
        Reversed("[Ljava/lang/String;", new[] { "a\0", null }, new[] { null, "a\0" });
        Reversed("[[I", new[] { new[] { 1, 2 }, new int[0] }, new[] { new int[0], new[] { 1, 2 } });
    }

    public static void EmptyOnes()
    {
        Check.Equal(new byte[0], Sample.CallStatic<byte[]>("reversed", "([B)[B", new byte[0]));
        Check.Equal(new int[0], Program.Java.ToJava(new int[0]).As<int[]>());
        Check.Equal(new string[0], Program.Java.ToJava(new string[0]).As<string[]>());
    }

    public static void AMebibyte()
    {
        byte[] bytes = new byte[1 << 20];
        new Random(7).NextBytes(bytes);
        byte[] expected = (byte[])bytes.Clone();
        Array.Reverse(expected);
        Check.Equal(expected, Sample.CallStatic<byte[]>("reversed", "([B)[B", bytes));
    }

    public static void ObjectsInAnArray()
    {
        const string Text = "([Ljava/lang/Object;)Ljava/lang/String;";
        JavaObject list = Program.Java.New("java.util.ArrayList");
        Check.Equal("[a, b] [Ljava.lang.Object;", Sample.CallStatic<string>("text", Text, new[] { "a", "b" }));
        object mixed = new object[] { "a", 1, null, list, new[] { 1, 2 }, new[] { "x" } };
        Check.Equal("[a, 1, null, [], [1, 2], [x]] [Ljava.lang.Object;", Sample.CallStatic<string>("text", Text, mixed));
        Check.Equal("[[]] [Ljava.lang.Object;", Sample.CallStatic<string>("text", Text, new[] { list }));
        JavaObject[] back = Program.Java.ToJava(mixed).As<JavaObject[]>();
        Check.Equal(6, back.Length);
        Check.True(back[2] == null && back[3].IsSame(list), "the same elements");
        Check.Equal(new int?[] { 0, 1, null }, Sample.CallStatic<int?[]>("boxed", "(I)[Ljava/lang/Integer;", 2));
        Check.Throws<InvalidCastException>(() => Sample.CallStatic<int[]>("boxed", "(I)[Ljava/lang/Integer;", 2));
        Check.Throws<InvalidCastException>(() => Program.Java.ToJava(mixed).As<string[]>(), "java.lang.Integer");
        Check.Throws<InvalidCastException>(() => Program.Java.ToJava(new int[1]).As<JavaObject[]>(), "[I");
    }

    public static void WhatDoesNotFit()
    {
        JavaObject list = Program.Java.New("java.util.ArrayList");
        Check.Throws<ArgumentException>(() => Reverse("[I", new long[2]));
        Check.Throws<ArgumentException>(() => Reverse("[I", new[] { "a", "b" }));
        Check.Throws<ArgumentException>(() => Reverse("[[I", new[] { new[] { "a" }, new[] { "b" } }));
        Check.Throws<ArgumentException>(() => Reverse("[Ljava/lang/String;", new[] { list }), "element 0");
        Check.Throws<ArgumentException>(() => Reverse("[Ljava/lang/String;", new object[] { new object[] { "a", 1 } }));
        Check.Throws<ArgumentException>(() => Reverse("[I", new int[1, 1]), "no form in Java");
        Check.Throws<ArgumentException>(() => Program.Java.ToJava(new ushort[1]), "no form in Java");
        Check.Throws<ArgumentException>(() => Program.Java.ToJava(DateTime.Now), "no form in Java");
        Check.Throws<ArgumentException>(() => Program.Java.ToJava(new[] { DateTime.Now }), "no form in Java");
        object[] circle = new object[1];
        circle[0] = circle;
        Check.Throws<ArgumentException>(() => Program.Java.ToJava(circle), "too many dimensions");
    }

    public static void OneThatStaysInJava()
    {
        using (JavaArray ints = (JavaArray)Program.Java.ToJava(new[] { 1, 2, 3 }))
        {
            Sample.CallStatic("fill", "([II)V", ints, 9);
            Check.Equal(new[] { 9, 9, 9 }, ints.As<int[]>());
            ints.Set(1, 5);
            Check.Equal(5, ints.Get<int>(1));
            int[] part = { 0, 0, 0, 0 };
            ints.CopyTo(1, part, 2, 2);
            Check.Equal(new[] { 0, 0, 5, 9 }, part);
            ints.CopyFrom(0, part, 1, 2);
            Check.Equal(new[] { 0, 5, 9 }, ints.As<int[]>());
            Check.Equal(3, ints.Length);
        }
        using (JavaClass bytes = Program.Java.FindClass("java.lang.Byte"))
        using (JavaClass type = bytes.GetStatic<JavaClass>("TYPE", "Ljava/lang/Class;"))
        using (JavaArray array = type.NewArray(4))
        {
            array.CopyFrom(1, new byte[] { 7, 200 }, 0, 2);
            Check.Equal(new byte[] { 0, 7, 200, 0 }, array.As<byte[]>());
            Check.Equal((sbyte)-56, array.Get<sbyte>(2));
        }
        using (JavaClass strings = Program.Java.FindClass("java.lang.String"))
        using (JavaArray array = strings.NewArray(2))
        {
            array.Set(1, "ü");
            Check.Equal(new[] { null, "ü" }, array.As<string[]>());
            Check.Equal("ü", array.Get<string>(1));
            Check.Equal(null, array.Get<JavaObject>(0));
            Check.Throws<ArgumentException>(() => array.Set(0, 1));
            Check.Throws<InvalidCastException>(() => array.Get<int>(1));
            Check.Throws<ArgumentException>(() => array.CopyTo(0, new string[2], 0, 1));
            Check.Equal("java.lang.NegativeArraySizeException",
                        Check.Throws<JavaException>(() => strings.NewArray(-1)).JavaClassName);
        }
    }

    public static void OutOfBounds()
    {
        using (JavaArray longs = (JavaArray)Program.Java.ToJava(new long[3]))
        {
            foreach (int index in new[] { -1, 3, int.MaxValue, int.MinValue })
            {
                Check.Throws<IndexOutOfRangeException>(() => longs.Get<long>(index));
                Check.Throws<IndexOutOfRangeException>(() => longs.Set(index, 1L));
                Check.Throws<ArgumentOutOfRangeException>(() => longs.CopyTo(index, new long[9], 0, 1));
                Check.Throws<ArgumentOutOfRangeException>(() => longs.CopyFrom(0, new long[3], index, 1));
            }
            Check.Throws<ArgumentOutOfRangeException>(() => longs.CopyTo(0, new long[9], 0, 4));
            Check.Throws<ArgumentOutOfRangeException>(() => longs.CopyTo(0, new long[2], 0, 3));
            Check.Throws<ArgumentOutOfRangeException>(() => longs.CopyTo(0, new long[2], 0, -1));
            Check.Throws<ArgumentException>(() => longs.CopyTo(0, new int[9], 0, 1));
            Check.Throws<ArgumentNullException>(() => longs.CopyTo(0, null, 0, 1));
            Check.Throws<ArgumentException>(() => longs.Get<int>(0));
            Check.Throws<ArgumentException>(() => longs.Set(0, 1.0));
        }
    }

    private static object Reverse(string type, object array)
    {
        return Sample.CallStatic<JavaObject>("reversed", "(" + type + ")" + type, array);
    }

    private static void Reversed<T>(string type, T array, T expected)
    {
        Check.Equal(expected, Sample.CallStatic<T>("reversed", "(" + type + ")" + type, array));
        Check.Equal(array, Program.Java.ToJava(array).As<T>());
    }
}
