using System;
using Qvjvm;

static class First
{
    static int Main()
    {
        try
        {
            JavaVm java = JavaVm.Start(new JavaOptions { Compiled = true, HeapBytes = 256L << 20 });
            using (JavaObject list = java.New("java.util.ArrayList"))
            {
                list.Call<bool>("add", "(Ljava/lang/Object;)Z", "Grüße");
                list.Call<bool>("add", "(Ljava/lang/Object;)Z", 42);
                Console.WriteLine(list.Call<int>("size", "()I") + " entries on Java " + java.JavaVersion);
                Console.WriteLine(list.Call<int>("get", "(I)Ljava/lang/Object;", 1) + 1);
            }
            using (JavaClass integer = java.FindClass("java.lang.Integer"))
            {
                integer.CallStatic<int>("parseInt", "(Ljava/lang/String;)I", "seventeen");
            }
        }
        catch (JavaException thrown)
        {
            Console.WriteLine(thrown.Message);
            return thrown.JavaClassName == "java.lang.NumberFormatException" ? 0 : 1;
        }
        catch (JavaStartException missing)
        {
            Console.WriteLine(missing.Message);
        }
        return 1;
    }
}
