using System;

namespace Qvjvm
{
    /// <summary>
    /// A Java object. It owns a global reference, so it may be used on any thread, also on several at once, and keeps the
    /// object alive until it is disposed of or forgotten.
    /// </summary>
    /// <remarks>
    /// <para>Methods and fields are named as in Java, with a signature in JNI's form: "(ILjava/lang/String;)V" for a method,
    /// "[B" for a field. What was looked up once is kept with its class.</para>
    /// <para>Arguments go to Java so: numbers, bool and char as C# converts them without a cast; a byte's bits as Java's
    /// byte; a string, a number or bool in its Java box, or a JavaObject for a parameter that is a class they are of; an
    /// array as a new Java array with a copy of its elements, arrays of arrays too, seven deep at most; null for any class. A
    /// single argument that is an object[] is cast to object. What does not fit raises ArgumentException before Java is
    /// called.</para>
    /// <para>Results and fields come as the type that is asked for: a primitive type as its own (a byte as sbyte or byte); a
    /// reference as JavaObject, string, JavaClass, JavaArray, an array (byte[], string[], int[][]: a copy), or what is in
    /// its box (int; int? where it may be null). ArgumentException tells before the call that it never can be one,
    /// InvalidCastException after it that this object is none.</para>
    /// <para>Java's exceptions come as <see cref="JavaException"/>. After Dispose everything raises
    /// ObjectDisposedException.</para>
    /// </remarks>
    public class JavaObject : IDisposable
    {
        private readonly JavaReference reference;
        private ClassInfo info;

        /// <summary>Of any reference, which stays.</summary>
        internal JavaObject(IntPtr env, IntPtr reference)
        {
            this.reference = new JavaReference(Service.NewGlobal(env, reference));
        }

        /// <summary>Calls a method that gives something.</summary>
        /// <typeparam name="T">What comes; see the remarks of the class.</typeparam>
        /// <param name="name">The method's name.</param>
        /// <param name="signature">Its types, "(I)Ljava/lang/Object;".</param>
        /// <param name="arguments">As many as it has parameters.</param>
        /// <returns>The result. A JavaObject is the caller's to dispose of.</returns>
        /// <exception cref="JavaException">The method threw it, or there is no such method (NoSuchMethodError).</exception>
        /// <exception cref="ArgumentException">The signature is malformed, an argument does not fit it, or T does not fit its
        /// result; the method was not called.</exception>
        /// <exception cref="InvalidCastException">The object that came is no T.</exception>
        /// <exception cref="ObjectDisposedException">This object or an argument was disposed of.</exception>
        public T Call<T>(string name, string signature, params object[] arguments)
        {
            Use use = new Use(this);
            try
            {
                Member method = Info(use).Find(use.Env, MemberKind.Method, name, signature);
                return Calling.Call<T>(use.Env, use.Target, method, arguments);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Calls a method whose result does not matter, or that has none.</summary>
        /// <param name="name">The method's name.</param>
        /// <param name="signature">Its types, "(I)V".</param>
        /// <param name="arguments">As many as it has parameters.</param>
        /// <exception cref="JavaException">As the other form.</exception>
        /// <exception cref="ArgumentException">As the other form.</exception>
        /// <exception cref="ObjectDisposedException">As the other form.</exception>
        public void Call(string name, string signature, params object[] arguments)
        {
            Use use = new Use(this);
            try
            {
                Member method = Info(use).Find(use.Env, MemberKind.Method, name, signature);
                Calling.CallVoid(use.Env, use.Target, method, arguments);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Reads a field.</summary>
        /// <typeparam name="T">What comes; see the remarks of the class.</typeparam>
        /// <param name="name">The field's name.</param>
        /// <param name="type">Its type, "I" or "Ljava/lang/String;".</param>
        /// <returns>The value. A JavaObject is the caller's to dispose of.</returns>
        /// <exception cref="JavaException">There is no such field (NoSuchFieldError).</exception>
        /// <exception cref="ArgumentException">The type is malformed or no T.</exception>
        /// <exception cref="InvalidCastException">The object that came is no T.</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public T Get<T>(string name, string type)
        {
            Use use = new Use(this);
            try
            {
                return Calling.Get<T>(use.Env, use.Target, Info(use).Find(use.Env, MemberKind.Field, name, type));
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Writes a field.</summary>
        /// <param name="name">The field's name.</param>
        /// <param name="type">Its type, "I" or "Ljava/lang/String;".</param>
        /// <param name="value">The value; see the remarks of the class.</param>
        /// <exception cref="JavaException">There is no such field (NoSuchFieldError).</exception>
        /// <exception cref="ArgumentException">The type is malformed, the value does not fit it, or the field is
        /// final.</exception>
        /// <exception cref="ObjectDisposedException">This object or the value was disposed of.</exception>
        public void Set(string name, string type, object value)
        {
            Use use = new Use(this);
            try
            {
                Calling.Set(use.Env, use.Target, Info(use).Find(use.Env, MemberKind.Field, name, type), value);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>What this object is in .NET: the text of a String, the number in an Integer, a copy of an array. See the
        /// remarks of the class; <see cref="JavaVm.ToJava"/> goes the other way.</summary>
        /// <typeparam name="T">The type that is wanted.</typeparam>
        /// <returns>The value. A JavaObject is another reference to this object, and the caller's.</returns>
        /// <exception cref="ArgumentException">No Java object can be a T.</exception>
        /// <exception cref="InvalidCastException">This object is no T.</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public T As<T>()
        {
            Use use = new Use(this);
            try
            {
                Reading.Check(typeof(T), "Ljava/lang/Object;");
                return (T)Reading.Read(use.Env, use.Target, typeof(T));
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>A new object for the class of this one.</summary>
        /// <returns>The class; the caller's to dispose of.</returns>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public JavaClass GetClass()
        {
            Use use = new Use(this);
            try
            {
                return new JavaClass(use.Env, Info(use).Class);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>The name of the object's class as Java has it, "java.util.ArrayList" or "[I".</summary>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public string ClassName
        {
            get
            {
                Use use = new Use(this);
                try
                {
                    return Roots.NameOf(use.Env, Info(use).Class);
                }
                finally
                {
                    use.End();
                }
            }
        }

        /// <summary>Whether this object is of a class, or of one below it.</summary>
        /// <param name="cls">The class or interface.</param>
        /// <returns>True if it is.</returns>
        /// <exception cref="ArgumentNullException">There is no class.</exception>
        /// <exception cref="ObjectDisposedException">This object or the class was disposed of.</exception>
        public bool IsInstanceOf(JavaClass cls)
        {
            if (cls == null) throw new ArgumentNullException("cls");
            Use use = new Use(this);
            try
            {
                return Service.Jni.IsInstanceOf(use.Env, use.Target, cls.Represented(use.Env).Class) != 0;
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Whether both are the same Java object, as == has it in Java.</summary>
        /// <param name="other">The other one, or null.</param>
        /// <returns>True if they are.</returns>
        /// <exception cref="ObjectDisposedException">One of them was disposed of.</exception>
        public bool IsSame(JavaObject other)
        {
            if (other == null) return false;
            Use use = new Use(this);
            JavaReference held = null;
            try
            {
                held = other.Hold();
                return Service.Jni.IsSameObject(use.Env, use.Target, held.DangerousGetHandle()) != 0;
            }
            finally
            {
                if (held != null) held.DangerousRelease();
                use.End();
            }
        }

        /// <summary>Java's equals.</summary>
        /// <param name="other">Another JavaObject; anything else is not equal.</param>
        /// <returns>What Java says.</returns>
        /// <exception cref="JavaException">equals threw it.</exception>
        /// <exception cref="ObjectDisposedException">One of them was disposed of.</exception>
        public override bool Equals(object other)
        {
            JavaObject java = other as JavaObject;
            return java != null && Call<bool>("equals", "(Ljava/lang/Object;)Z", java);
        }

        /// <summary>Java's hashCode.</summary>
        /// <returns>What Java says.</returns>
        /// <exception cref="JavaException">hashCode threw it.</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public override int GetHashCode()
        {
            return Call<int>("hashCode", "()I");
        }

        /// <summary>Java's toString, for people: it raises no exception.</summary>
        /// <returns>The text; what went wrong, in parentheses; empty where Java gives null.</returns>
        public override string ToString()
        {
            try
            {
                return Call<string>("toString", "()Ljava/lang/String;") ?? "";
            }
            catch (ObjectDisposedException)
            {
                return "(disposed)";
            }
            catch (JavaException thrown)
            {
                return "(" + thrown.Message + ")";
            }
        }

        /// <summary>Lets the Java object go. Any thread; again is no harm. A call that is under way keeps it to its
        /// end.</summary>
        public void Dispose()
        {
            reference.Dispose();
            GC.SuppressFinalize(this);
        }

        /// <summary>The reference, which stays valid until its DangerousRelease.</summary>
        internal JavaReference Hold()
        {
            bool held = false;
            try
            {
                reference.DangerousAddRef(ref held);
            }
            catch (ObjectDisposedException)
            {
                throw new ObjectDisposedException(GetType().Name);
            }
            return reference;
        }

        internal ClassInfo Info(Use use)
        {
            if (info != null) return info;
            IntPtr cls = Service.Jni.GetObjectClass(use.Env, use.Target);
            try
            {
                return info = ClassInfo.Of(use.Env, cls);
            }
            finally
            {
                Service.DeleteLocal(use.Env, cls);
            }
        }

        /// <summary>One use of an object: it stays, and the thread has joined the Java VM.</summary>
        internal struct Use
        {
            internal readonly IntPtr Env;
            internal readonly IntPtr Target;
            private readonly JavaReference held;

            internal Use(JavaObject target)
            {
                held = target.Hold();
                try
                {
                    Env = Service.Enter();
                }
                catch
                {
                    held.DangerousRelease();
                    throw;
                }
                Target = held.DangerousGetHandle();
            }

            internal void End()
            {
                held.DangerousRelease();
            }
        }
    }
}
