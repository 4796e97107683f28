using System;

namespace Qvjvm
{
    /// <summary>Calls and fields. The target is an object or, for static members and constructors, a class.</summary>
    internal static unsafe class Calling
    {
        private static readonly object[] OneNull = { null };

        internal static T Call<T>(IntPtr env, IntPtr target, Member method, object[] arguments)
        {
            Reading.Check(typeof(T), method.Signature.Result);
            return Reading.Take<T>(env, Invoke(env, target, method, arguments), method.Signature.Result);
        }

        internal static void CallVoid(IntPtr env, IntPtr target, Member method, object[] arguments)
        {
            JavaValue ignored = Invoke(env, target, method, arguments);
            if (Signature.IsReference(method.Signature.Result)) Service.DeleteLocal(env, ignored.Reference);
        }

        internal static T Get<T>(IntPtr env, IntPtr target, Member field)
        {
            Reading.Check(typeof(T), field.Signature.Result);
            string type = field.Signature.Result;
            JavaValue value = Service.Jni.Get(env, field.IsStatic, target, field.Id, type[0]);
            return Reading.Take<T>(env, value, type);
        }

        internal static void Set(IntPtr env, IntPtr target, Member field, object value)
        {
            if (field.IsFinal) throw new ArgumentException("the field " + field.Name + " is final");
            string type = field.Signature.Result;
            Passed passed = default(Passed);
            try
            {
                passed.Set(env, value, type, field.Classes[0], new Place(field, 0));
                Service.Jni.Set(env, field.IsStatic, target, field.Id, type[0], passed.Value);
            }
            finally
            {
                passed.GiveBack(env);
            }
        }

        /// <summary>The result, a local reference where it is one.</summary>
        internal static JavaValue Invoke(IntPtr env, IntPtr target, Member method, object[] arguments)
        {
            string[] parameters = method.Signature.Parameters;
            object[] given = arguments ?? OneNull;
            // An array of strings or of objects that was meant to be the one argument.
            if (given.GetType() != typeof(object[])) given = new object[] { given };
            if (given.Length != parameters.Length)
            {
                throw new ArgumentException(method.Name + " takes " + parameters.Length + " arguments, not " + given.Length,
                                            "arguments");
            }
            JavaValue* values = stackalloc JavaValue[parameters.Length + 1];
            Passed[] passed = new Passed[parameters.Length];
            try
            {
                for (int i = 0; i < passed.Length; ++i)
                {
                    passed[i].Set(env, given[i], parameters[i], method.Classes[i], new Place(method, i));
                    values[i] = passed[i].Value;
                }
                JavaValue result = default(JavaValue);
                if (method.Kind == MemberKind.Constructor)
                {
                    result.Reference = Service.Jni.NewObject(env, target, method.Id, values);
                }
                else
                {
                    char type = method.Signature.Result[0];
                    result = Service.Jni.Call(env, method.IsStatic, target, method.Id, type, values);
                }
                Service.Check(env);
                return result;
            }
            finally
            {
                for (int i = 0; i < passed.Length; ++i) passed[i].GiveBack(env);
            }
        }
    }
}
