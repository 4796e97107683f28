using System;
using System.Collections;
using System.Reflection;
using System.Text;

/// <summary>Runs the public static methods of classes, each a test, and tells which failed and where.</summary>
static class Harness
{
    /// <summary>How many tests failed; 1 when there were none.</summary>
    internal static int Run(string only, params Type[] classes)
    {
        int run = 0;
        int failed = 0;
        foreach (Type cls in classes)
        {
            foreach (MethodInfo test in cls.GetMethods(BindingFlags.Public | BindingFlags.Static | BindingFlags.DeclaredOnly))
            {
                string name = cls.Name + "." + test.Name;
                if (only != null && name.IndexOf(only, StringComparison.Ordinal) < 0) continue;
                ++run;
                try
                {
                    ((Action)Delegate.CreateDelegate(typeof(Action), test))();
                }
                catch (Exception thrown)
                {
                    ++failed;
                    Console.WriteLine("FAILED " + name + "\n" + thrown);
                }
            }
        }
        Console.WriteLine(run + " tests, " + failed + " failed");
        return run == 0 ? 1 : failed;
    }
}

sealed class CheckFailed : Exception
{
    internal CheckFailed(string message) : base(message)
    {
    }
}

static class Check
{
    internal static void True(bool value, string what)
    {
        if (!value) throw new CheckFailed("not so: " + what);
    }

    /// <summary>Arrays are equal when their types and elements are.</summary>
    internal static void Equal(object expected, object actual)
    {
        if (!Same(expected, actual)) throw new CheckFailed("expected " + Show(expected) + ", not " + Show(actual));
    }

    internal static void Contains(string part, string text)
    {
        if (text == null || text.IndexOf(part, StringComparison.Ordinal) < 0)
        {
            throw new CheckFailed("expected something with " + Show(part) + ", not " + Show(text));
        }
    }

    /// <summary>That an action throws just this, with a text in its message.</summary>
    internal static T Throws<T>(Action action, string part = "") where T : Exception
    {
        try
        {
            action();
        }
        catch (Exception thrown)
        {
            if (thrown.GetType() != typeof(T)) throw new CheckFailed("expected a " + typeof(T) + ", not " + thrown);
            Contains(part, thrown.Message);
            return (T)thrown;
        }
        throw new CheckFailed("expected a " + typeof(T) + ", and nothing was thrown");
    }

    private static bool Same(object expected, object actual)
    {
        Array left = expected as Array;
        Array right = actual as Array;
        if (left == null || right == null) return object.Equals(expected, actual);
        if (left.GetType() != right.GetType() || left.Length != right.Length) return false;
        for (int i = 0; i < left.Length; ++i)
        {
            if (!Same(left.GetValue(i), right.GetValue(i))) return false;
        }
        return true;
    }

    private static string Show(object value)
    {
        if (value == null) return "null";
        string text = value as string;
        Array array = value as Array;
        if (array != null && array.Length > 20) return array.GetType() + " of " + array.Length;
        StringBuilder shown = new StringBuilder(value.GetType().Name + " ");
        if (array != null)
        {
            foreach (object each in (IEnumerable)array) shown.Append(Show(each)).Append("; ");
        }
        else if (text != null)
        {
            foreach (char unit in text)
            {
                shown.Append(unit >= ' ' && unit < 127 ? unit.ToString() : "\\u" + ((int)unit).ToString("x4"));
            }
        }
        else shown.Append(value);
        return shown.ToString();
    }
}
