using System;
using System.Runtime.InteropServices;

namespace Qvjvm
{
    /// <summary>A value on its way to Java, and what has to be given back when Java has it.</summary>
    internal unsafe struct Passed
    {
        internal JavaValue Value;
        private IntPtr local;
        private JavaReference held;

        /// <summary>Converts a value for a type; see JavaObject for what goes where.</summary>
        /// <param name="env">The thread's environment.</param>
        /// <param name="value">The value.</param>
        /// <param name="type">JNI's form of the type.</param>
        /// <param name="cls">The class of a reference type; zero for any.</param>
        /// <param name="what">Where it goes, for messages.</param>
        /// <exception cref="ArgumentException">The value does not fit the type.</exception>
        internal void Set(IntPtr env, object value, string type, IntPtr cls, Place what)
        {
            if (!Signature.IsReference(type))
            {
                if (!Primitive.TrySet(value, type[0], out Value)) throw Misfit(what, value, type);
                return;
            }
            Value.Reference = IntPtr.Zero;
            if (value == null) return;
            JavaObject given = value as JavaObject;
            if (given != null)
            {
                held = given.Hold();
                Value.Reference = held.DangerousGetHandle();
            }
            else
            {
                Value.Reference = local = Make(env, value, cls, what, 0);
            }
            if (cls != IntPtr.Zero && Service.Jni.IsInstanceOf(env, Value.Reference, cls) == 0)
            {
                throw Misfit(what, value, type);
            }
        }

        internal void GiveBack(IntPtr env)
        {
            if (held != null) held.DangerousRelease();
            Service.DeleteLocal(env, local);
            held = null;
            local = IntPtr.Zero;
        }

        /// <summary>A local reference to what stands for a value in Java. The class is that of where it goes, which tells
        /// the class of an array's elements; or zero.</summary>
        internal static IntPtr Make(IntPtr env, object value, IntPtr cls, Place what, int depth)
        {
            string text = value as string;
            if (text != null) return Text.Make(env, text);
            int primitive = Primitive.IndexOf(value.GetType());
            if (primitive >= 0) return MakeBox(env, value, primitive);
            Array array = value as Array;
            if (array == null || array.Rank != 1 || array.GetLowerBound(0) != 0)
            {
                throw new ArgumentException(what + " is a " + value.GetType() + ", which has no form in Java");
            }
            primitive = Primitive.IndexOf(array.GetType().GetElementType());
            return primitive >= 0 ? MakePrimitives(env, array, primitive) : MakeReferences(env, array, cls, what, depth);
        }

        private static IntPtr MakeBox(IntPtr env, object value, int primitive)
        {
            Roots.Box box = Roots.Boxes[primitive];
            Primitive.TrySet(value, JniTable.Primitives[primitive], out JavaValue argument);
            IntPtr made = Service.Jni.Call(env, true, box.Class, box.ValueOf, 'L', &argument).Reference;
            Service.Check(env);
            return made;
        }

        private static IntPtr MakePrimitives(IntPtr env, Array array, int primitive)
        {
            IntPtr made = Service.Jni.NewArray[primitive](env, array.Length);
            Service.Check(env);
            using (Pinned pinned = new Pinned(array))
            {
                Service.Jni.SetRegion[primitive](env, made, 0, array.Length, (void*)pinned.First);
            }
            Service.Check(env);
            return made;
        }

        private static IntPtr MakeReferences(IntPtr env, Array array, IntPtr cls, Place what, int depth)
        {
            const int MostDimensions = 7; // each has two local references, of which a thread has 16 without asking
            if (depth == MostDimensions) throw new ArgumentException(what + " is an array with too many dimensions");
            IntPtr component = IntPtr.Zero;
            IntPtr made = IntPtr.Zero;
            try
            {
                if (cls != IntPtr.Zero)
                {
                    string name = Roots.NameOf(env, cls);
                    if (name[0] == '[' && JniTable.Primitives.IndexOf(name[1]) >= 0)
                    {
                        throw new ArgumentException(what + " is a " + array.GetType() + ", which is no " + name);
                    }
                    component = Roots.Ask(env, cls, Roots.GetComponentType);
                }
                IntPtr elements = component;
                if (elements == IntPtr.Zero)
                {
                    elements = ClassInfo.Named(env, ClassOf(array.GetType().GetElementType(), what)).Class;
                }
                made = NewReferences(env, array.Length, elements);
                for (int i = 0; i < array.Length; ++i)
                {
                    object value = array.GetValue(i);
                    if (value == null) continue;
                    JavaObject given = value as JavaObject;
                    JavaReference held = given != null ? given.Hold() : null;
                    IntPtr element = IntPtr.Zero;
                    try
                    {
                        element = held != null ? held.DangerousGetHandle()
                            : Make(env, value, component, what, depth + 1);
                        if (Service.Jni.IsInstanceOf(env, element, elements) == 0)
                        {
                            throw new ArgumentException(what + " is an array whose element " + i + ", " + Name(value)
                                                        + ", is no " + Roots.NameOf(env, elements));
                        }
                        Service.Jni.SetObjectArrayElement(env, made, i, element);
                        Service.Check(env);
                    }
                    finally
                    {
                        if (held != null) held.DangerousRelease();
                        else Service.DeleteLocal(env, element);
                    }
                }
                IntPtr result = made;
                made = IntPtr.Zero;
                return result;
            }
            finally
            {
                Service.DeleteLocal(env, made);
                Service.DeleteLocal(env, component);
            }
        }

        /// <summary>A new array of references, all null.</summary>
        internal static IntPtr NewReferences(IntPtr env, int length, IntPtr elements)
        {
            IntPtr made = Service.Jni.NewObjectArray(env, length, elements, IntPtr.Zero);
            Service.Check(env);
            return made;
        }

        /// <summary>The Java class of an element's type, as FindClass has it.</summary>
        private static string ClassOf(Type type, Place what)
        {
            if (type == typeof(string)) return "java/lang/String";
            if (type == typeof(JavaClass)) return "java/lang/Class";
            if (type == typeof(object) || type == typeof(JavaObject) || type == typeof(JavaArray)) return "java/lang/Object";
            if (type.IsArray && type.GetArrayRank() == 1)
            {
                Type element = type.GetElementType();
                int primitive = Primitive.IndexOf(element);
                if (primitive >= 0) return "[" + JniTable.Primitives[primitive];
                string name = ClassOf(element, what);
                return name[0] == '[' ? "[" + name : "[L" + name + ";";
            }
            throw new ArgumentException(what + " is an array of " + type + ", which has no form in Java");
        }

        private static string Name(object value)
        {
            if (value == null) return "null";
            JavaObject java = value as JavaObject;
            return java != null ? "a " + java.ClassName : "a " + value.GetType();
        }

        private static ArgumentException Misfit(Place what, object value, string type)
        {
            return new ArgumentException(what + " is " + Name(value) + ", which does not fit the type " + type);
        }
    }

    /// <summary>Where a value goes, as messages call it.</summary>
    internal struct Place
    {
        private readonly Member member;
        private readonly int index;

        /// <param name="member">A method or field; null for anything else.</param>
        /// <param name="index">Of a method's argument.</param>
        internal Place(Member member, int index)
        {
            this.member = member;
            this.index = index;
        }

        public override string ToString()
        {
            if (member == null) return "the value";
            bool isField = member.Kind == MemberKind.Field || member.Kind == MemberKind.StaticField;
            return isField ? "the value of " + member.Name : "argument " + (index + 1) + " of " + member.Name;
        }
    }

    /// <summary>An array that stays where it is.</summary>
    internal struct Pinned : IDisposable
    {
        private GCHandle handle;

        internal Pinned(Array array)
        {
            handle = GCHandle.Alloc(array, GCHandleType.Pinned);
        }

        internal IntPtr First
        {
            get { return handle.AddrOfPinnedObject(); }
        }

        public void Dispose()
        {
            handle.Free();
        }
    }

    /// <summary>The primitive types of both languages.</summary>
    internal static class Primitive
    {
        private static readonly Type[] Types =
        {
            typeof(bool), typeof(sbyte), typeof(char), typeof(short), typeof(int), typeof(long), typeof(float),
            typeof(double)
        };

        /// <summary>Its place in <see cref="JniTable.Primitives"/>; negative for none. A byte is Java's, whose upper half is
        /// negative there.</summary>
        internal static int IndexOf(Type type)
        {
            return type == typeof(byte) ? 1 : Array.IndexOf(Types, type);
        }

        /// <summary>Stores what C# would convert without a cast, and a byte as Java's.</summary>
        internal static bool TrySet(object value, char type, out JavaValue to)
        {
            to = default(JavaValue);
            if (value == null) return false;
            if (type == 'Z' && value is bool)
            {
                to.Boolean = (bool)value ? (byte)1 : (byte)0;
                return true;
            }
            if (type == 'C' && value is char)
            {
                to.Char = (char)value;
                return true;
            }
            if (type == 'B' && (value is sbyte || value is byte))
            {
                to.Byte = value is byte ? unchecked((sbyte)(byte)value) : (sbyte)value;
                return true;
            }
            if (type == 'F' && value is float)
            {
                to.Float = (float)value;
                return true;
            }
            if (type == 'D' && (value is double || value is float))
            {
                to.Double = value is float ? (float)value : (double)value;
                return true;
            }
            return TryInteger(value, out long number, out int bits) && SetInteger(number, bits, type, ref to);
        }

        private static bool SetInteger(long number, int bits, char type, ref JavaValue to)
        {
            switch (type)
            {
                case 'S': to.Short = unchecked((short)number); return bits <= 16;
                case 'I': to.Int = unchecked((int)number); return bits <= 32;
                case 'J': to.Long = number; return true;
                case 'F': to.Float = number; return true;
                case 'D': to.Double = number; return true;
                default: return false;
            }
        }

        /// <summary>`bits` are those of the smallest signed type that holds all values of the type.</summary>
        private static bool TryInteger(object value, out long number, out int bits)
        {
            bits = 16;
            number = 0;
            if (value is short) number = (short)value;
            else if (value is byte) number = (byte)value;
            else if (value is sbyte) number = (sbyte)value;
            else
            {
                bits = 32;
                if (value is int) number = (int)value;
                else if (value is char) number = (char)value;
                else if (value is ushort) number = (ushort)value;
                else
                {
                    bits = 64;
                    if (value is long) number = (long)value;
                    else if (value is uint) number = (uint)value;
                    else return false;
                }
            }
            return true;
        }

        /// <summary>Boxes a value as the .NET type that was asked for, which fits.</summary>
        internal static object Get(JavaValue value, char type, Type wanted)
        {
            switch (type)
            {
                case 'Z': return value.Boolean != 0;
                case 'B': return wanted == typeof(byte) ? unchecked((byte)value.Byte) : (object)value.Byte;
                case 'C': return (char)value.Char;
                case 'S': return value.Short;
                case 'I': return value.Int;
                case 'J': return value.Long;
                case 'F': return value.Float;
                default: return value.Double;
            }
        }
    }
}
