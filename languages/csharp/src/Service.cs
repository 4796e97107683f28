using System;
using System.Runtime.InteropServices;

namespace Qvjvm
{
    /// <summary>
    /// The process's one Java VM: the service object, the JNI functions, and what every conversion needs. Set once, by the
    /// first start; the service keeps the Java VM until the process ends.
    /// </summary>
    internal static unsafe class Service
    {
        private delegate int TextFn(IntPtr self, out IntPtr text);
        private delegate IntPtr TextOfStringFn(IntPtr self);
        private delegate uint ReleaseFn(IntPtr self);
        private delegate int ReferenceFn(IntPtr self, IntPtr reference);
        private delegate int FindClassFn(IntPtr self, out IntPtr cls, byte* name);
        private delegate int SetTextFn(IntPtr self, [MarshalAs(UnmanagedType.LPWStr)] string text);
        private delegate int GetIntFn(IntPtr self, out int value);
        private delegate IntPtr AcquireFn(IntPtr self);

        private const int ReleaseSlot = 2;
        private const int TextOfStringSlot = 5;

        private static IntPtr vm;
        private static TextFn getErrorText;
        private static ReferenceFn deleteGlobalRef;
        private static FindClassFn findClass;
        private static TextFn getLogFileName;
        private static SetTextFn setLogFileName;
        private static GetIntFn isJvmCreated;
        private static TextFn getClassPath;
        private static AcquireFn acquireThreadEnv;

        internal static JniTable Jni { get; private set; }

        /// <summary>Whether a start has succeeded.</summary>
        internal static bool IsStarted { get; private set; }

        /// <summary>Takes over a service object. Under the lock of the start.</summary>
        internal static void Open(IntPtr service)
        {
            IntPtr table = Marshal.ReadIntPtr(service);
            getErrorText = JniTable.At<TextFn>(table, 5);
            deleteGlobalRef = JniTable.At<ReferenceFn>(table, 11);
            findClass = JniTable.At<FindClassFn>(table, 12);
            getLogFileName = JniTable.At<TextFn>(table, 51);
            setLogFileName = JniTable.At<SetTextFn>(table, 52);
            isJvmCreated = JniTable.At<GetIntFn>(table, 54);
            getClassPath = JniTable.At<TextFn>(table, 55);
            acquireThreadEnv = JniTable.At<AcquireFn>(table, 60);
            vm = service;
            try
            {
                IntPtr env = acquireThreadEnv(vm);
                if (env == IntPtr.Zero) throw NoThread();
                Jni = new JniTable(env);
                Roots.Load(env);
                IsStarted = true;
            }
            finally
            {
                if (!IsStarted)
                {
                    JniTable.At<ReleaseFn>(table, ReleaseSlot)(service);
                    vm = IntPtr.Zero;
                }
            }
        }

        /// <summary>The calling thread's environment; joins the thread at its first use.</summary>
        internal static IntPtr Enter()
        {
            IntPtr env = acquireThreadEnv(vm);
            if (env == IntPtr.Zero) throw NoThread();
            JavaReference.DeleteForgotten(env);
            return env;
        }

        internal static bool IsCreated
        {
            get { return isJvmCreated(vm, out int created) >= 0 && created != 0; }
        }

        internal static string ClassPath
        {
            get { return TakeText(getClassPath); }
        }

        internal static string LogFile
        {
            get { return TakeText(getLogFileName); }
            set { setLogFileName(vm, value); }
        }

        /// <summary>Any thread, joined or not.</summary>
        internal static void DeleteGlobalRef(IntPtr reference)
        {
            deleteGlobalRef(vm, reference);
        }

        /// <summary>A local reference to a class.</summary>
        /// <exception cref="JavaException">There is no such class, or it cannot be loaded or begin.</exception>
        internal static IntPtr FindClass(IntPtr env, string name)
        {
            fixed (byte* bytes = ModifiedUtf8(name))
            {
                IntPtr cls = Jni.FindClass(env, bytes);
                JavaException missing = TakeException(env);
                if (missing == null) return cls;
                // In a joined Java VM the service has a class path of its own.
                if (!IsCreated && findClass(vm, out cls, bytes) >= 0 && cls != IntPtr.Zero)
                {
                    missing.Throwable.Dispose();
                    return cls;
                }
                throw missing;
            }
        }

        /// <summary>Throws the pending Java exception, if there is one.</summary>
        internal static void Check(IntPtr env)
        {
            JavaException thrown = TakeException(env);
            if (thrown != null) throw thrown;
        }

        /// <summary>The pending Java exception, which is cleared; or null.</summary>
        private static JavaException TakeException(IntPtr env)
        {
            if (Jni.ExceptionCheck(env) == 0) return null;
            IntPtr throwable = Jni.ExceptionOccurred(env);
            Jni.ExceptionClear(env);
            return JavaException.Of(env, throwable);
        }

        internal static void DeleteLocal(IntPtr env, IntPtr reference)
        {
            if (reference != IntPtr.Zero) Jni.DeleteLocalRef(env, reference);
        }

        /// <summary>A global reference to the same object; the given one stays.</summary>
        internal static IntPtr NewGlobal(IntPtr env, IntPtr reference)
        {
            IntPtr global = Jni.NewGlobalRef(env, reference);
            if (global != IntPtr.Zero) return global;
            Check(env);
            throw new OutOfMemoryException("Java has no memory for a reference");
        }

        /// <summary>The same of a local reference, which is deleted.</summary>
        internal static IntPtr Globalize(IntPtr env, IntPtr local)
        {
            try
            {
                return NewGlobal(env, local);
            }
            finally
            {
                DeleteLocal(env, local);
            }
        }

        /// <summary>JNI's encoding of names: an embedded null has two bytes, and surrogates stay single.</summary>
        internal static byte[] ModifiedUtf8(string text)
        {
            byte[] bytes = new byte[text.Length * 3 + 1];
            int length = 0;
            foreach (char unit in text)
            {
                if (unit != 0 && unit < 0x80)
                {
                    bytes[length++] = (byte)unit;
                    continue;
                }
                if (unit < 0x800)
                {
                    bytes[length++] = (byte)(0xC0 | unit >> 6);
                }
                else
                {
                    bytes[length++] = (byte)(0xE0 | unit >> 12);
                    bytes[length++] = (byte)(0x80 | unit >> 6 & 0x3F);
                }
                bytes[length++] = (byte)(0x80 | unit & 0x3F);
            }
            return bytes;
        }

        private static Exception NoThread()
        {
            return new InvalidOperationException("the thread cannot join the Java VM: " + TakeText(getErrorText));
        }

        /// <summary>A text object of the service, as a string; empty without one.</summary>
        private static string TakeText(TextFn get)
        {
            if (get(vm, out IntPtr text) < 0 || text == IntPtr.Zero) return "";
            IntPtr table = Marshal.ReadIntPtr(text);
            try
            {
                return Marshal.PtrToStringUni(JniTable.At<TextOfStringFn>(table, TextOfStringSlot)(text));
            }
            finally
            {
                JniTable.At<ReleaseFn>(table, ReleaseSlot)(text);
            }
        }
    }

    /// <summary>Classes and methods that conversions and exceptions need; looked up once, at the start.</summary>
    internal static unsafe class Roots
    {
        /// <summary>Classes, as global references that are never deleted.</summary>
        internal static IntPtr Object, String, Class, ObjectArray;

        /// <summary>Methods.</summary>
        internal static IntPtr ToStringId, GetName, GetComponentType, IsPrimitive, GetMessage, GetCause, GetParameterTypes,
            GetFieldType, GetModifiers, IdentityHashCode;

        private static IntPtr system;

        /// <summary>The classes of boxes, by the place in <see cref="JniTable.Primitives"/>.</summary>
        internal static readonly Box[] Boxes = new Box[8];

        /// <summary>The classes of arrays of primitive types, in the same order.</summary>
        internal static readonly IntPtr[] Arrays = new IntPtr[8];

        internal sealed class Box
        {
            internal string Name;
            internal IntPtr Class, ValueOf, Value;
        }

        internal static void Load(IntPtr env)
        {
            Object = Find(env, "java/lang/Object");
            String = Find(env, "java/lang/String");
            Class = Find(env, "java/lang/Class");
            ObjectArray = Find(env, "[Ljava/lang/Object;");
            system = Find(env, "java/lang/System");
            ToStringId = Id(env, Object, "toString", "()Ljava/lang/String;", false);
            GetName = Id(env, Class, "getName", "()Ljava/lang/String;", false);
            GetComponentType = Id(env, Class, "getComponentType", "()Ljava/lang/Class;", false);
            IsPrimitive = Id(env, Class, "isPrimitive", "()Z", false);
            IntPtr throwable = Find(env, "java/lang/Throwable");
            GetMessage = Id(env, throwable, "getMessage", "()Ljava/lang/String;", false);
            GetCause = Id(env, throwable, "getCause", "()Ljava/lang/Throwable;", false);
            IdentityHashCode = Id(env, system, "identityHashCode", "(Ljava/lang/Object;)I", true);
            GetParameterTypes =
                Id(env, Find(env, "java/lang/reflect/Executable"), "getParameterTypes", "()[Ljava/lang/Class;", false);
            IntPtr field = Find(env, "java/lang/reflect/Field");
            GetFieldType = Id(env, field, "getType", "()Ljava/lang/Class;", false);
            GetModifiers = Id(env, field, "getModifiers", "()I", false);
            string[] boxes = { "Boolean", "Byte", "Character", "Short", "Integer", "Long", "Float", "Double" };
            string[] values = { "boolean", "byte", "char", "short", "int", "long", "float", "double" };
            for (int i = 0; i < boxes.Length; ++i)
            {
                string name = "java/lang/" + boxes[i];
                char type = JniTable.Primitives[i];
                IntPtr cls = Find(env, name);
                Boxes[i] = new Box
                {
                    Name = name,
                    Class = cls,
                    ValueOf = Id(env, cls, "valueOf", "(" + type + ")L" + name + ";", true),
                    Value = Id(env, cls, values[i] + "Value", "()" + type, false)
                };
                Arrays[i] = Find(env, "[" + type);
            }
        }

        /// <summary>An object's hash that does not change.</summary>
        internal static int Hash(IntPtr env, IntPtr reference)
        {
            JavaValue argument = new JavaValue { Reference = reference };
            int hash = Service.Jni.Call(env, true, system, IdentityHashCode, 'I', &argument).Int;
            Service.Check(env);
            return hash;
        }

        /// <summary>Calls a method without arguments that gives a reference, a local one.</summary>
        internal static IntPtr Ask(IntPtr env, IntPtr target, IntPtr method)
        {
            IntPtr result = Service.Jni.Call(env, false, target, method, 'L', null).Reference;
            Service.Check(env);
            return result;
        }

        /// <summary>The name of a class, "java.lang.String" or "[I".</summary>
        internal static string NameOf(IntPtr env, IntPtr cls)
        {
            IntPtr name = Ask(env, cls, GetName);
            try
            {
                return Text.Read(env, name);
            }
            finally
            {
                Service.DeleteLocal(env, name);
            }
        }

        private static IntPtr Find(IntPtr env, string name)
        {
            return Service.Globalize(env, Service.FindClass(env, name));
        }

        private static IntPtr Id(IntPtr env, IntPtr cls, string name, string signature, bool isStatic)
        {
            return Member.FindId(env, isStatic ? Service.Jni.GetStaticMethodId : Service.Jni.GetMethodId, cls, name,
                                 signature);
        }
    }

    /// <summary>Strings, whole: embedded nulls and single surrogates stay.</summary>
    internal static unsafe class Text
    {
        /// <summary>A local reference to a new Java string.</summary>
        internal static IntPtr Make(IntPtr env, string text)
        {
            IntPtr made;
            fixed (char* units = text) made = Service.Jni.NewString(env, units, text.Length);
            Service.Check(env);
            return made;
        }

        /// <summary>A Java string's text; null for null.</summary>
        internal static string Read(IntPtr env, IntPtr reference)
        {
            if (reference == IntPtr.Zero) return null;
            int length = Service.Jni.GetStringLength(env, reference);
            if (length == 0) return "";
            char[] units = new char[length];
            fixed (char* first = units) Service.Jni.GetStringRegion(env, reference, 0, length, first);
            Service.Check(env);
            return new string(units);
        }
    }
}
