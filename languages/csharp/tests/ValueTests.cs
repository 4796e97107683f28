using System;
using Qvjvm;

/// <summary>Calls, constructors, fields and strings.</summary>
static class ValueTests
{
    private static JavaClass Sample
    {
        get { return Program.Java.FindClass("qvcs.Sample"); }
    }

    private static JavaObject Make()
    {
        return Program.Java.New("qvcs/Sample");
    }

    public static void EveryResultTypeOfAnObject()
    {
        JavaObject sample = Make();
        Check.Equal(false, sample.Call<bool>("not", "(Z)Z", true));
        Check.Equal(true, sample.Call<bool>("not", "(Z)Z", false));
        Check.Equal((sbyte)-128, sample.Call<sbyte>("next", "(B)B", (sbyte)127));
        Check.Equal((byte)200, sample.Call<byte>("next", "(B)B", (byte)199));
        Check.Equal('\u20ad', sample.Call<char>("next", "(C)C", '\u20ac'));
        Check.Equal((short)-32768, sample.Call<short>("next", "(S)S", (short)32767));
        Check.Equal(int.MinValue, sample.Call<int>("next", "(I)I", int.MaxValue));
        Check.Equal(long.MinValue, sample.Call<long>("next", "(J)J", long.MaxValue));
        Check.Equal(0.75f, sample.Call<float>("half", "(F)F", 1.5f));
        Check.Equal(0.75, sample.Call<double>("half", "(D)D", 1.5));
        Check.Equal("abab", sample.Call<string>("twice", "(Ljava/lang/String;)Ljava/lang/String;", "ab"));
        sample.Call("add", "(I)V", 5);
        sample.Call("add", "(I)V", 6);
        Check.Equal(11, sample.Get<int>("anInt", "I"));
    }

    public static void EveryResultTypeOfAClass()
    {
        Check.Equal(false, Sample.CallStatic<bool>("sNot", "(Z)Z", true));
        Check.Equal((sbyte)-3, Sample.CallStatic<sbyte>("sNext", "(B)B", (sbyte)-4));
        Check.Equal('b', Sample.CallStatic<char>("sNext", "(C)C", 'a'));
        Check.Equal((short)-3, Sample.CallStatic<short>("sNext", "(S)S", (short)-4));
        Check.Equal(-3, Sample.CallStatic<int>("sNext", "(I)I", -4));
        Check.Equal(1L << 40, Sample.CallStatic<long>("sNext", "(J)J", (1L << 40) - 1));
        Check.Equal(-0.25f, Sample.CallStatic<float>("sHalf", "(F)F", -0.5f));
        Check.Equal(1e300, Sample.CallStatic<double>("sHalf", "(D)D", 2e300));
        Check.Equal("java.lang.String", Sample.CallStatic<string>("className", "(Ljava/lang/Object;)Ljava/lang/String;", "x"));
        Sample.SetStatic("sInt", "I", 1);
        Sample.CallStatic("sAdd", "(I)V", 41);
        Check.Equal(42, Sample.GetStatic<int>("sInt", "I"));
    }

    public static void ManyArgumentsKeepTheirPlaces()
    {
        const string Signature = "(ZBCSIJFDLjava/lang/String;Ljava/lang/Object;)Ljava/lang/String;";
        string text = Sample.CallStatic<string>("all", Signature, true, (sbyte)-1, 'A', (short)-2, -3, -4L, 0.5f, -0.5, "text",
                                                7);
        Check.Equal("true -1 65 -2 -3 -4 0.5 -0.5 text 7", text);
    }

    public static void NumbersWidenAsInCSharp()
    {
        Check.Equal(256, Sample.CallStatic<int>("sNext", "(I)I", (byte)255));
        Check.Equal(-1, Sample.CallStatic<int>("sNext", "(I)I", (short)-2));
        Check.Equal(98, Sample.CallStatic<int>("sNext", "(I)I", 'a'));
        Check.Equal(1L << 32, Sample.CallStatic<long>("sNext", "(J)J", uint.MaxValue));
        Check.Equal(1.5, Sample.CallStatic<double>("sHalf", "(D)D", 3));
        Check.Equal(0.25, Sample.CallStatic<double>("sHalf", "(D)D", 0.5f));
        foreach (object tooWide in new object[] { 1L, 1u, 1.0, 1.0f, true, "1", null })
        {
            Check.Throws<ArgumentException>(() => Sample.CallStatic<int>("sNext", "(I)I", tooWide), "argument 1 of sNext");
        }
        Check.Throws<ArgumentException>(() => Sample.CallStatic<short>("sNext", "(S)S", 1));
        Check.Throws<ArgumentException>(() => Sample.CallStatic<sbyte>("sNext", "(B)B", (short)1));
        Check.Throws<ArgumentException>(() => Sample.CallStatic<char>("sNext", "(C)C", (short)1));
        Check.Throws<ArgumentException>(() => Sample.CallStatic<bool>("sNot", "(Z)Z", 1));
        Check.Throws<ArgumentException>(() => Sample.CallStatic<float>("sHalf", "(F)F", 1.0));
    }

    public static void Strings()
    {
        const string Twice = "(Ljava/lang/String;)Ljava/lang/String;";
        JavaObject sample = Make();
        string[] texts =
        {
            "", "a", "Grüße", "\u65e5\u672c", "\ud83d\ude00", "a\0b\0", "\0", "\ud800 alone", "\udc00\ud800"
        };
        foreach (string text in texts)
        {
            Check.Equal(text + text, sample.Call<string>("twice", Twice, text));
        }
        Check.Equal("61 0 fc 20ac d83d de00 ", Sample.CallStatic<string>("codes", Twice, "a\0ü€\ud83d\ude00"));
        string big = new string('ü', 1 << 20);
        Check.Equal(big + big, sample.Call<string>("twice", Twice, big));
    }

    public static void BoxesBothWays()
    {
        const string Same = "(Ljava/lang/Object;)Ljava/lang/Object;";
        const string Name = "(Ljava/lang/Object;)Ljava/lang/String;";
        JavaObject sample = Make();
        Check.Equal(true, sample.Call<bool>("same", Same, true));
        Check.Equal((sbyte)-1, sample.Call<sbyte>("same", Same, (sbyte)-1));
        Check.Equal((byte)255, sample.Call<byte>("same", Same, (byte)255));
        Check.Equal('x', sample.Call<char>("same", Same, 'x'));
        Check.Equal((short)-5, sample.Call<short>("same", Same, (short)-5));
        Check.Equal(-5, sample.Call<int>("same", Same, -5));
        Check.Equal(-5L, sample.Call<long>("same", Same, -5L));
        Check.Equal(-5f, sample.Call<float>("same", Same, -5f));
        Check.Equal(-5.0, sample.Call<double>("same", Same, -5.0));
        Check.Equal("java.lang.Long", Sample.CallStatic<string>("className", Name, 5L));
        Check.Equal("java.lang.Byte", Sample.CallStatic<string>("className", Name, (byte)5));
        Check.Equal(null, sample.Call<int?>("same", Same, null));
        Check.Equal(3, sample.Call<int?>("same", Same, 3));
        Check.Throws<InvalidCastException>(() => sample.Call<int>("same", Same, null), "null");
        Check.Throws<InvalidCastException>(() => sample.Call<int>("same", Same, 3L), "java.lang.Long");
        Check.Throws<InvalidCastException>(() => sample.Call<string>("same", Same, 3), "java.lang.Integer");
    }

    public static void Nulls()
    {
        const string Same = "(Ljava/lang/Object;)Ljava/lang/Object;";
        JavaObject sample = Make();
        Check.Equal(null, sample.Call<JavaObject>("same", Same, null));
        Check.Equal(null, sample.Call<string>("same", Same, (object)null));
        Check.Equal(null, sample.Call<byte[]>("same", Same, null));
        Check.Equal(null, sample.Call<JavaArray>("same", Same, null));
        Check.Equal(null, sample.Get<string>("aString", "Ljava/lang/String;"));
        Check.Equal(null, Program.Java.ToJava(null));
        Check.Throws<ArgumentNullException>(() => sample.Call(null, "()V"));
        Check.Throws<ArgumentNullException>(() => sample.Call("add", null, 1));
        Check.Throws<ArgumentNullException>(() => Program.Java.FindClass(null));
        Check.Throws<ArgumentNullException>(() => sample.IsInstanceOf(null));
        Check.Throws<ArgumentNullException>(() => sample.Get<int>(null, "I"));
        Check.Throws<ArgumentNullException>(() => sample.Set("anInt", null, 1));
        Check.Throws<ArgumentNullException>(() => Sample.New(null));
    }

    public static void Constructors()
    {
        JavaObject made = Sample.New("(ILjava/lang/String;)V", 4, "four");
        Check.Equal(4, made.Get<int>("anInt", "I"));
        Check.Equal("four", made.Get<string>("aString", "Ljava/lang/String;"));
        Check.Equal("qvcs.Sample", made.ClassName);
        made = Program.Java.New("qvcs.Sample", "(ILjava/lang/String;)", 5, "five");
        Check.Equal("five", made.Get<string>("aString", "Ljava/lang/String;"));
        Check.Contains("NoSuchMethodError", Check.Throws<JavaException>(() => Sample.New("(J)", 1L)).JavaClassName);
        Check.Equal("java.lang.InstantiationException",
                    Check.Throws<JavaException>(() => Program.Java.New("java.lang.Number")).JavaClassName);
        Check.Throws<JavaException>(() => Program.Java.New("java.lang.Runnable"));
        Check.Throws<JavaException>(() => Program.Java.FindClass("[I").New());
    }

    public static void Fields()
    {
        JavaObject sample = Make();
        Field(sample, "aBoolean", "Z", true);
        Field(sample, "aByte", "B", (sbyte)-7);
        Field(sample, "aByte", "B", (byte)250);
        Field(sample, "aChar", "C", '\u20ac');
        Field(sample, "aShort", "S", (short)-7);
        Field(sample, "anInt", "I", -7);
        Field(sample, "aLong", "J", long.MinValue);
        Field(sample, "aFloat", "F", 0.125f);
        Field(sample, "aDouble", "D", -1e-300);
        Field(sample, "aString", "Ljava/lang/String;", "a\0ü");
        Field(sample, "ints", "[I", new[] { 1, 2, 3 });
        Check.Equal("from above", sample.Get<string>("inherited", "Ljava/lang/String;"));
        sample.Set("aString", "Ljava/lang/String;", null);
        Check.Equal(null, sample.Get<string>("aString", "Ljava/lang/String;"));
    }

    public static void StaticFields()
    {
        StaticField("sBoolean", "Z", true);
        StaticField("sByte", "B", (sbyte)-7);
        StaticField("sChar", "C", '\u20ac');
        StaticField("sShort", "S", (short)-7);
        StaticField("sInt", "I", -7);
        StaticField("sLong", "J", long.MinValue);
        StaticField("sFloat", "F", 0.125f);
        StaticField("sDouble", "D", -1e-300);
        StaticField("sString", "Ljava/lang/String;", "second");
        Check.Equal("constant", Sample.GetStatic<string>("CONSTANT", "Ljava/lang/String;"));
    }

    public static void WrongFields()
    {
        JavaObject sample = Make();
        Check.Equal("java.lang.NoSuchFieldError",
                    Check.Throws<JavaException>(() => sample.Get<int>("missing", "I")).JavaClassName);
        Check.Throws<JavaException>(() => sample.Get<long>("anInt", "J"));
        Check.Throws<JavaException>(() => Sample.GetStatic<int>("anInt", "I"));
        Check.Throws<ArgumentException>(() => sample.Get<long>("anInt", "I"));
        Check.Throws<ArgumentException>(() => sample.Get<int>("anInt", "II"));
        Check.Throws<ArgumentException>(() => sample.Set("anInt", "I", "text"), "anInt");
        Check.Throws<ArgumentException>(() => sample.Set("aString", "Ljava/lang/String;", 5), "aString");
        Check.Throws<ArgumentException>(() => sample.Set("ints", "[I", new long[1]), "ints");
        Check.Throws<ArgumentException>(() => sample.Set("fixed", "I", 8), "final");
        Check.Throws<ArgumentException>(() => Sample.SetStatic("CONSTANT", "Ljava/lang/String;", "x"), "final");
        Check.Equal(7, sample.Get<int>("fixed", "I"));
    }

    public static void ClassesAndIdentity()
    {
        JavaObject list = Program.Java.New("java.util.ArrayList");
        JavaObject other = Program.Java.New("java.util.ArrayList");
        Check.True(list.IsInstanceOf(Program.Java.FindClass("java.util.List")), "a list");
        Check.True(!list.IsInstanceOf(Program.Java.FindClass("java.util.Map")), "no map");
        Check.True(list.GetClass().IsSame(Program.Java.FindClass("java/util/ArrayList")), "its class");
        Check.Equal("java.util.ArrayList", list.GetClass().Name);
        Check.True(list.IsSame(list.As<JavaObject>()), "itself");
        Check.True(!list.IsSame(other) && !list.IsSame(null), "another");
        Check.True(list.Equals(other) && list.GetHashCode() == other.GetHashCode(), "equal");
        other.Call<bool>("add", "(Ljava/lang/Object;)Z", "ü");
        Check.True(!list.Equals(other) && !list.Equals("ü") && !list.Equals(null), "not equal");
        Check.Equal("[ü]", other.ToString());
        Check.Equal("[Ljava.lang.String;", Program.Java.FindClass("[Ljava.lang.String;").Name);
        JavaClass cls = list.Call<JavaClass>("getClass", "()Ljava/lang/Class;");
        Check.Equal(0, cls.New().Call<int>("size", "()I"));
        Check.Throws<InvalidCastException>(() => list.As<JavaClass>());
    }

    public static void ClassesWithoutMembers()
    {
        JavaClass type = Program.Java.FindClass("java.lang.Integer").GetStatic<JavaClass>("TYPE", "Ljava/lang/Class;");
        Check.Equal("int", type.Name);
        Check.Throws<ArgumentException>(() => type.New(), "primitive");
        Check.Throws<ArgumentException>(() => type.GetStatic<int>("MAX_VALUE", "I"));
        Check.Throws<ArgumentException>(() => type.CallStatic("parseInt", "(Ljava/lang/String;)I", "1"));
        Check.True(!Make().IsInstanceOf(type), "nothing is an int");
        JavaClass array = Program.Java.FindClass("[I");
        Check.Throws<JavaException>(() => array.GetStatic<int>("length", "I"));
        Check.Throws<JavaException>(() => Program.Java.ToJava(new int[1]).Get<int>("length", "I"));
        Check.Equal(2, Program.Java.ToJava(new int[2]).Call<int[]>("clone", "()Ljava/lang/Object;").Length);
        JavaClass nothing = Program.Java.FindClass("java.lang.Void").GetStatic<JavaClass>("TYPE", "Ljava/lang/Class;");
        Check.Throws<JavaException>(() => nothing.NewArray(1), "IllegalArgumentException");
    }

    public static void APrivateMethodAboveIsNotTaken()
    {
        JavaObject above = Program.Java.New("qvcs.Base");
        JavaObject below = Make();
        Check.Equal("base", above.Call<string>("secret", "()Ljava/lang/String;"));
        Check.Equal("derived", below.Call<string>("secret", "()Ljava/lang/String;"));
    }

    private static void Field<T>(JavaObject sample, string name, string type, T value)
    {
        Check.True(!object.Equals(sample.Get<T>(name, type), value), "another value before");
        sample.Set(name, type, value);
        Check.Equal(value, sample.Get<T>(name, type));
    }

    private static void StaticField<T>(string name, string type, T value)
    {
        Check.True(!object.Equals(Sample.GetStatic<T>(name, type), value), "another value before");
        Sample.SetStatic(name, type, value);
        Check.Equal(value, Sample.GetStatic<T>(name, type));
    }
}
