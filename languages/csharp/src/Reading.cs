using System;

namespace Qvjvm
{
    /// <summary>What comes from Java, as the .NET types that were asked for.</summary>
    internal static unsafe class Reading
    {
        /// <summary>Whether a Java type can come as a .NET type at all; asked before Java is called.</summary>
        /// <exception cref="ArgumentException">It never can.</exception>
        internal static void Check(Type wanted, string type)
        {
            if (type == "V") throw new ArgumentException("void was declared, and a " + wanted + " was asked for");
            if (Signature.IsReference(type) ? IsReadable(wanted) : IsPrimitive(wanted, type[0])) return;
            throw new ArgumentException("the type " + type + " cannot become a " + wanted);
        }

        /// <summary>Converts a value and deletes its local reference.</summary>
        /// <exception cref="InvalidCastException">A reference to something else.</exception>
        internal static T Take<T>(IntPtr env, JavaValue value, string type)
        {
            if (!Signature.IsReference(type)) return (T)Primitive.Get(value, type[0], typeof(T));
            try
            {
                return (T)Read(env, value.Reference, typeof(T));
            }
            finally
            {
                Service.DeleteLocal(env, value.Reference);
            }
        }

        /// <summary>A reference, which stays, as a type that IsReadable has seen.</summary>
        internal static object Read(IntPtr env, IntPtr reference, Type wanted)
        {
            Type unboxed = Nullable.GetUnderlyingType(wanted) ?? wanted;
            if (reference == IntPtr.Zero)
            {
                if (!wanted.IsValueType || unboxed != wanted) return null;
                throw new InvalidCastException("null is no " + wanted);
            }
            if (wanted == typeof(JavaObject)) return new JavaObject(env, reference);
            if (wanted == typeof(string))
            {
                Need(env, reference, Roots.String, wanted);
                return Text.Read(env, reference);
            }
            if (wanted == typeof(JavaClass))
            {
                Need(env, reference, Roots.Class, wanted);
                return new JavaClass(env, reference);
            }
            if (wanted == typeof(JavaArray)) return ReadArray(env, reference);
            int primitive = Primitive.IndexOf(unboxed);
            if (primitive >= 0)
            {
                Roots.Box box = Roots.Boxes[primitive];
                Need(env, reference, box.Class, wanted);
                char type = JniTable.Primitives[primitive];
                JavaValue value = Service.Jni.Call(env, false, reference, box.Value, type, null);
                Service.Check(env);
                return Primitive.Get(value, type, unboxed);
            }
            return ReadElements(env, reference, wanted);
        }

        internal static bool IsReadable(Type wanted)
        {
            if (wanted == typeof(string) || wanted == typeof(JavaObject) || wanted == typeof(JavaClass) ||
                wanted == typeof(JavaArray))
            {
                return true;
            }
            if (wanted.IsArray) return wanted.GetArrayRank() == 1 && IsReadable(wanted.GetElementType());
            return Primitive.IndexOf(Nullable.GetUnderlyingType(wanted) ?? wanted) >= 0;
        }

        private static bool IsPrimitive(Type wanted, char type)
        {
            int primitive = Primitive.IndexOf(wanted);
            return primitive >= 0 && JniTable.Primitives[primitive] == type;
        }

        private static JavaArray ReadArray(IntPtr env, IntPtr reference)
        {
            IntPtr cls = Service.Jni.GetObjectClass(env, reference);
            IntPtr component = IntPtr.Zero;
            try
            {
                component = Roots.Ask(env, cls, Roots.GetComponentType);
                if (component == IntPtr.Zero) throw Misfit(env, reference, typeof(JavaArray));
                return new JavaArray(env, reference, Roots.NameOf(env, cls)[1], component);
            }
            finally
            {
                Service.DeleteLocal(env, component);
                Service.DeleteLocal(env, cls);
            }
        }

        private static Array ReadElements(IntPtr env, IntPtr reference, Type wanted)
        {
            Type element = wanted.GetElementType();
            int primitive = Primitive.IndexOf(element);
            Need(env, reference, primitive >= 0 ? Roots.Arrays[primitive] : Roots.ObjectArray, wanted);
            int length = Service.Jni.GetArrayLength(env, reference);
            Array array = Array.CreateInstance(element, length);
            if (primitive >= 0)
            {
                using (Pinned pinned = new Pinned(array))
                {
                    Service.Jni.GetRegion[primitive](env, reference, 0, length, (void*)pinned.First);
                }
                Service.Check(env);
                return array;
            }
            bool whole = false;
            try
            {
                for (int i = 0; i < length; ++i)
                {
                    IntPtr each = Service.Jni.GetObjectArrayElement(env, reference, i);
                    try
                    {
                        Service.Check(env);
                        array.SetValue(Read(env, each, element), i);
                    }
                    finally
                    {
                        Service.DeleteLocal(env, each);
                    }
                }
                whole = true;
                return array;
            }
            finally
            {
                if (!whole)
                {
                    foreach (object each in array)
                    {
                        JavaObject made = each as JavaObject;
                        if (made != null) made.Dispose();
                    }
                }
            }
        }

        private static void Need(IntPtr env, IntPtr reference, IntPtr cls, Type wanted)
        {
            if (Service.Jni.IsInstanceOf(env, reference, cls) == 0) throw Misfit(env, reference, wanted);
        }

        private static InvalidCastException Misfit(IntPtr env, IntPtr reference, Type wanted)
        {
            IntPtr cls = Service.Jni.GetObjectClass(env, reference);
            try
            {
                return new InvalidCastException("a " + Roots.NameOf(env, cls) + " is no " + wanted);
            }
            finally
            {
                Service.DeleteLocal(env, cls);
            }
        }
    }
}
