using System;

namespace Qvjvm
{
    /// <summary>A Java exception. Its cause in Java is the InnerException, with its own cause again.</summary>
    public sealed class JavaException : Exception
    {
        private const int MostCauses = 30; // they may go in a circle

        private string stackTrace;

        private JavaException(string message, Exception cause) : base(message, cause)
        {
        }

        /// <summary>The name of its class, "java.io.IOException"; empty when Java could not tell.</summary>
        public string JavaClassName { get; private set; }

        /// <summary>Its getMessage(), or null. <see cref="Exception.Message"/> is its toString(), which has the class's name
        /// too.</summary>
        public string JavaMessage { get; private set; }

        /// <summary>The throwable itself. It belongs to this exception and need not be disposed of.</summary>
        public JavaObject Throwable { get; private set; }

        /// <summary>Its stack and those of its causes, as Java prints them; asked from Java at the first reading. Empty when
        /// Java cannot tell.</summary>
        public string JavaStackTrace
        {
            get { return stackTrace ?? (stackTrace = Print()); }
        }

        /// <summary>What .NET tells of an exception, and Java's stack behind it.</summary>
        /// <returns>The text.</returns>
        public override string ToString()
        {
            return base.ToString() + Environment.NewLine + "Java's stack:" + Environment.NewLine + JavaStackTrace;
        }

        /// <summary>Of a throwable, a local reference, which is deleted. Nothing is pending before or after.</summary>
        internal static JavaException Of(IntPtr env, IntPtr throwable)
        {
            return Of(env, throwable, 0);
        }

        private static JavaException Of(IntPtr env, IntPtr throwable, int depth)
        {
            string name, message, text;
            JavaObject kept;
            IntPtr cause;
            try
            {
                name = ClassName(env, throwable);
                message = AskText(env, throwable, Roots.GetMessage);
                text = AskText(env, throwable, Roots.ToStringId);
                cause = depth < MostCauses ? Ask(env, throwable, Roots.GetCause) : IntPtr.Zero;
                kept = new JavaObject(env, throwable);
            }
            finally
            {
                Service.DeleteLocal(env, throwable);
            }
            // Java without memory or stack often cannot run toString.
            if (text == null && name.Length != 0) text = message != null ? name + ": " + message : name;
            JavaException inner = cause != IntPtr.Zero ? Of(env, cause, depth + 1) : null;
            return new JavaException(text ?? "a Java exception that cannot say what it is", inner)
            {
                JavaClassName = name,
                JavaMessage = message,
                Throwable = kept
            };
        }

        private static string ClassName(IntPtr env, IntPtr throwable)
        {
            IntPtr cls = Service.Jni.GetObjectClass(env, throwable);
            try
            {
                return AskText(env, cls, Roots.GetName) ?? "";
            }
            finally
            {
                Service.DeleteLocal(env, cls);
            }
        }

        /// <summary>What a method without arguments gives; null, and nothing is pending, when it throws.</summary>
        private static unsafe IntPtr Ask(IntPtr env, IntPtr target, IntPtr method)
        {
            IntPtr result = Service.Jni.Call(env, false, target, method, 'L', null).Reference;
            if (Service.Jni.ExceptionCheck(env) == 0) return result;
            Service.Jni.ExceptionClear(env);
            return IntPtr.Zero;
        }

        private static string AskText(IntPtr env, IntPtr target, IntPtr method)
        {
            IntPtr text = Ask(env, target, method);
            try
            {
                return Text.Read(env, text);
            }
            finally
            {
                Service.DeleteLocal(env, text);
            }
        }

        private string Print()
        {
            try
            {
                using (JavaClass writers = JavaClass.Find("java/io/StringWriter"))
                using (JavaClass printers = JavaClass.Find("java/io/PrintWriter"))
                using (JavaObject text = writers.New())
                using (JavaObject printer = printers.New("(Ljava/io/Writer;)", text))
                {
                    Throwable.Call("printStackTrace", "(Ljava/io/PrintWriter;)V", printer);
                    printer.Call("flush", "()V");
                    return text.Call<string>("toString", "()Ljava/lang/String;") ?? "";
                }
            }
            catch (JavaException)
            {
                return "";
            }
            catch (ObjectDisposedException)
            {
                return "";
            }
            catch (InvalidOperationException)
            {
                return "";
            }
        }
    }
}
