using System;

namespace Qvjvm
{
    /// <summary>
    /// A Java class: its constructors, static methods and static fields. Its own methods, those of java.lang.Class, are
    /// called like any object's. Arguments and results are as <see cref="JavaObject"/> tells.
    /// </summary>
    /// <remarks>A class that was used stays loaded until the process ends, with what was looked up of it.</remarks>
    public sealed class JavaClass : JavaObject
    {
        private ClassInfo represented;

        internal JavaClass(IntPtr env, IntPtr cls) : base(env, cls)
        {
        }

        /// <summary>By name; see <see cref="JavaVm.FindClass"/>.</summary>
        internal static JavaClass Find(string name)
        {
            IntPtr env = Service.Enter();
            ClassInfo info = ClassInfo.Named(env, name);
            return new JavaClass(env, info.Class) { represented = info };
        }

        /// <summary>The class's name as Java has it, "java.lang.String" or "[I".</summary>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public string Name
        {
            get { return Call<string>("getName", "()Ljava/lang/String;"); }
        }

        /// <summary>Makes an object.</summary>
        /// <param name="signature">The constructor's parameters, "(ILjava/lang/String;)"; a V behind it may follow.</param>
        /// <param name="arguments">As many as it has parameters.</param>
        /// <returns>The object; the caller's to dispose of.</returns>
        /// <exception cref="JavaException">The constructor threw it, there is no such one (NoSuchMethodError), or there are no
        /// objects of this class (InstantiationException).</exception>
        /// <exception cref="ArgumentException">The signature is malformed, or an argument does not fit it.</exception>
        /// <exception cref="ObjectDisposedException">This object or an argument was disposed of.</exception>
        public JavaObject New(string signature = "()", params object[] arguments)
        {
            if (signature == null) throw new ArgumentNullException("signature");
            if (signature.EndsWith(")", StringComparison.Ordinal)) signature += "V";
            Use use = new Use(this);
            try
            {
                ClassInfo info = Represented(use.Env);
                Member constructor = info.Find(use.Env, MemberKind.Constructor, "<init>", signature);
                IntPtr made = Calling.Invoke(use.Env, info.Class, constructor, arguments).Reference;
                try
                {
                    return new JavaObject(use.Env, made);
                }
                finally
                {
                    Service.DeleteLocal(use.Env, made);
                }
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Calls a static method that gives something.</summary>
        /// <typeparam name="T">What comes; see <see cref="JavaObject"/>.</typeparam>
        /// <param name="name">The method's name.</param>
        /// <param name="signature">Its types, "(Ljava/lang/String;)I".</param>
        /// <param name="arguments">As many as it has parameters.</param>
        /// <returns>The result. A JavaObject is the caller's to dispose of.</returns>
        /// <exception cref="JavaException">The method threw it, or there is no such method (NoSuchMethodError).</exception>
        /// <exception cref="ArgumentException">As <see cref="JavaObject"/> tells.</exception>
        /// <exception cref="InvalidCastException">The object that came is no T.</exception>
        /// <exception cref="ObjectDisposedException">This object or an argument was disposed of.</exception>
        public T CallStatic<T>(string name, string signature, params object[] arguments)
        {
            Use use = new Use(this);
            try
            {
                ClassInfo info = Represented(use.Env);
                Member method = info.Find(use.Env, MemberKind.StaticMethod, name, signature);
                return Calling.Call<T>(use.Env, info.Class, method, arguments);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Calls a static method whose result does not matter, or that has none.</summary>
        /// <param name="name">The method's name.</param>
        /// <param name="signature">Its types, "([Ljava/lang/Object;)V".</param>
        /// <param name="arguments">As many as it has parameters.</param>
        /// <exception cref="JavaException">As the other form.</exception>
        /// <exception cref="ArgumentException">As the other form.</exception>
        /// <exception cref="ObjectDisposedException">As the other form.</exception>
        public void CallStatic(string name, string signature, params object[] arguments)
        {
            Use use = new Use(this);
            try
            {
                ClassInfo info = Represented(use.Env);
                Member method = info.Find(use.Env, MemberKind.StaticMethod, name, signature);
                Calling.CallVoid(use.Env, info.Class, method, arguments);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Reads a static field.</summary>
        /// <typeparam name="T">What comes; see <see cref="JavaObject"/>.</typeparam>
        /// <param name="name">The field's name.</param>
        /// <param name="type">Its type, "I" or "Ljava/lang/String;".</param>
        /// <returns>The value. A JavaObject is the caller's to dispose of.</returns>
        /// <exception cref="JavaException">There is no such field (NoSuchFieldError).</exception>
        /// <exception cref="ArgumentException">The type is malformed or no T.</exception>
        /// <exception cref="InvalidCastException">The object that came is no T.</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public T GetStatic<T>(string name, string type)
        {
            Use use = new Use(this);
            try
            {
                ClassInfo info = Represented(use.Env);
                return Calling.Get<T>(use.Env, info.Class, info.Find(use.Env, MemberKind.StaticField, name, type));
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>Writes a static field.</summary>
        /// <param name="name">The field's name.</param>
        /// <param name="type">Its type, "I" or "Ljava/lang/String;".</param>
        /// <param name="value">The value; see <see cref="JavaObject"/>.</param>
        /// <exception cref="JavaException">There is no such field (NoSuchFieldError).</exception>
        /// <exception cref="ArgumentException">The type is malformed, the value does not fit it, or the field is
        /// final.</exception>
        /// <exception cref="ObjectDisposedException">This object or the value was disposed of.</exception>
        public void SetStatic(string name, string type, object value)
        {
            Use use = new Use(this);
            try
            {
                ClassInfo info = Represented(use.Env);
                Calling.Set(use.Env, info.Class, info.Find(use.Env, MemberKind.StaticField, name, type), value);
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>A new array of this class, all null; of a primitive type's class, all 0.</summary>
        /// <param name="length">How many elements it has.</param>
        /// <returns>The array; the caller's to dispose of.</returns>
        /// <exception cref="JavaException">The length is negative (NegativeArraySizeException), Java has no memory for it, or
        /// this is the class of void (IllegalArgumentException).</exception>
        /// <exception cref="ObjectDisposedException">This object was disposed of.</exception>
        public JavaArray NewArray(int length)
        {
            Use use = new Use(this);
            try
            {
                ClassInfo arrays = ClassInfo.Named(use.Env, "java/lang/reflect/Array");
                Member make = arrays.Find(use.Env, MemberKind.StaticMethod, "newInstance",
                                          "(Ljava/lang/Class;I)Ljava/lang/Object;");
                return Calling.Call<JavaArray>(use.Env, arrays.Class, make, new object[] { this, length });
            }
            finally
            {
                use.End();
            }
        }

        /// <summary>The class that this object stands for, not that of this object.</summary>
        internal ClassInfo Represented(IntPtr env)
        {
            JavaReference held = Hold();
            try
            {
                return represented ?? (represented = ClassInfo.Of(env, held.DangerousGetHandle()));
            }
            finally
            {
                held.DangerousRelease();
            }
        }
    }
}
