using System;
using System.Collections.Generic;

namespace Qvjvm
{
    /// <summary>What a start asks for; nothing at first.</summary>
    /// <remarks>A path that is not absolute lies in the program's folder, AppContext.BaseDirectory. Heap and options together
    /// replace the configured options whole, properties and Compiled the configured properties. They count for this process
    /// alone.</remarks>
    public sealed class JavaOptions
    {
        /// <summary>The heap's most bytes, rounded up to KiB; 0 for none given.</summary>
        public long HeapBytes { get; set; }

        /// <summary>Options of the Java VM, "-XX:+UseSerialGC", behind the heap and in this order.</summary>
        public IList<string> Options { get; } = new List<string>();

        /// <summary>System properties of Java, by name.</summary>
        public IDictionary<string, string> Properties { get; } = new Dictionary<string, string>(StringComparer.Ordinal);

        /// <summary>No property java.compiler, with which Java runtimes before 21 interpret all Java code.</summary>
        public bool Compiled { get; set; }

        /// <summary>Files and folders of the class path, before the configured ones. "lib\*" stands for the jars of lib, sorted
        /// by name without case; that folder has to be there.</summary>
        public IList<string> ClassPath { get; } = new List<string>();

        /// <summary>The folder of a JRE or JDK, before what JAVA_HOME and the registry name; null for none.</summary>
        public string Runtime { get; set; }

        /// <summary>Where the Java VM's output goes once it runs; null for where the configuration says.</summary>
        public string LogFile { get; set; }

        /// <summary>So many older logs stay, as LogFile.1 (the youngest), LogFile.2 and so on.</summary>
        public int LogFilesKept { get; set; }

        /// <summary>The path of the service's DLL; null for the qvjvm.dll that .NET finds, beside the program or in its
        /// package. The first start loads it for the whole process.</summary>
        public string Library { get; set; }
    }

    /// <summary>What of <see cref="JavaOptions"/> came too late, because a Java VM ran in the process already.</summary>
    [Flags]
    public enum JavaIgnored
    {
        /// <summary>Nothing.</summary>
        None = 0,
        /// <summary>HeapBytes.</summary>
        Heap = 1,
        /// <summary>Options.</summary>
        Options = 2,
        /// <summary>Properties.</summary>
        Properties = 4,
        /// <summary>Compiled.</summary>
        Compiled = 8,
        /// <summary>ClassPath.</summary>
        ClassPath = 16,
        /// <summary>Runtime.</summary>
        Runtime = 32
    }

    /// <summary>There is no Java VM: the service, the host library or Java is missing, or Java refused to start.</summary>
    public sealed class JavaStartException : Exception
    {
        internal JavaStartException(string message, int status, Exception inner = null) : base(message, inner)
        {
            HResult = status;
        }
    }

    /// <summary>
    /// The Java VM of this process. There is one in a process's life, which never ends before the process, so there is
    /// nothing to dispose of. Any thread: each joins the Java VM at its first use and leaves it when it ends.
    /// </summary>
    public sealed class JavaVm
    {
        private JavaVm(JavaIgnored ignored)
        {
            Ignored = ignored;
        }

        /// <summary>Starts Java, or joins the Java VM that runs. Again it only tells what of its options came too
        /// late.</summary>
        /// <param name="options">What the start asks for; null for nothing.</param>
        /// <returns>The Java VM.</returns>
        /// <exception cref="JavaStartException">There is none. HResult is the service's status. A DLL that was missing may be
        /// there at the next call; a Java runtime is looked for once in the life of a process.</exception>
        /// <exception cref="ArgumentException">An option, property, path or runtime that cannot be.</exception>
        /// <exception cref="PlatformNotSupportedException">This is no 64-bit process of Windows.</exception>
        /// <remarks>While it runs, no other code may start the service or read JAVA_HOME, which names Options.Runtime for that
        /// time.</remarks>
        public static JavaVm Start(JavaOptions options = null)
        {
            return new JavaVm(Starting.Start(options ?? new JavaOptions()));
        }

        /// <summary>What came too late.</summary>
        public JavaIgnored Ignored { get; private set; }

        /// <summary>Whether the service created the Java VM; false when it joined one.</summary>
        public bool IsCreated
        {
            get { return Service.IsCreated; }
        }

        /// <summary>The Java version that runs, "17.0.9".</summary>
        public string JavaVersion
        {
            get
            {
                using (JavaClass system = FindClass("java/lang/System"))
                {
                    const string Signature = "(Ljava/lang/String;)Ljava/lang/String;";
                    return system.CallStatic<string>("getProperty", Signature, "java.version");
                }
            }
        }

        /// <summary>The class path of a created Java VM; in a joined one the service's own.</summary>
        public string ClassPath
        {
            get { return Service.ClassPath; }
        }

        /// <summary>Where the Java VM's own output goes. A file that is set begins anew; for the whole process.</summary>
        /// <exception cref="ArgumentNullException">There is no path.</exception>
        /// <exception cref="ArgumentException">The path has a null in it.</exception>
        public string LogFile
        {
            get { return Service.LogFile; }
            set { Service.LogFile = Starting.FullPath(value, "value"); }
        }

        /// <summary>Global references that this library keeps for JavaObjects of this process, with those that were forgotten
        /// and wait for the next call; for finding what is never disposed of.</summary>
        public long LiveReferences
        {
            get { return JavaReference.Live; }
        }

        /// <summary>Finds a class. In a joined Java VM the service's own class path is searched second.</summary>
        /// <param name="name">"java.lang.String" or "java/lang/String", "Outer$Inner"; for arrays "[I",
        /// "[Ljava.lang.String;".</param>
        /// <returns>The class; the caller's to dispose of.</returns>
        /// <exception cref="JavaException">There is none (NoClassDefFoundError), or it cannot be loaded.</exception>
        /// <exception cref="ArgumentNullException">There is no name.</exception>
        public JavaClass FindClass(string name)
        {
            return JavaClass.Find(name);
        }

        /// <summary>Makes an object; short for FindClass and <see cref="JavaClass.New"/>.</summary>
        /// <param name="className">As with FindClass.</param>
        /// <param name="signature">The constructor's parameters, "(I)".</param>
        /// <param name="arguments">As many as it has parameters.</param>
        /// <returns>The object; the caller's to dispose of.</returns>
        /// <exception cref="JavaException">As FindClass and New.</exception>
        /// <exception cref="ArgumentException">As New.</exception>
        public JavaObject New(string className, string signature = "()", params object[] arguments)
        {
            using (JavaClass cls = FindClass(className)) return cls.New(signature, arguments);
        }

        /// <summary>Makes a Java object of a .NET value: a String of a string, an Integer of an int, an array of an array, as
        /// for an argument; see <see cref="JavaObject"/>.</summary>
        /// <param name="value">The value.</param>
        /// <returns>The object, a JavaArray of an array; the caller's to dispose of. Null for null.</returns>
        /// <exception cref="ArgumentException">There is nothing in Java for it.</exception>
        /// <exception cref="JavaException">Java has no memory for it.</exception>
        public JavaObject ToJava(object value)
        {
            IntPtr env = Service.Enter();
            Passed passed = default(Passed);
            try
            {
                passed.Set(env, value, "Ljava/lang/Object;", IntPtr.Zero, new Place(null, 0));
                Type type = value is Array || value is JavaArray ? typeof(JavaArray)
                    : value is JavaClass ? typeof(JavaClass)
                    : typeof(JavaObject);
                return (JavaObject)Reading.Read(env, passed.Value.Reference, type);
            }
            finally
            {
                passed.GiveBack(env);
            }
        }

        /// <summary>Gives the calling thread Java's own class loader as its context class loader, which some libraries (JNDI,
        /// JAXP) ask for and a thread that joined the Java VM has not. One that it has already stays.</summary>
        /// <exception cref="JavaException">Java has no memory for it.</exception>
        public void UseContextClassLoader()
        {
            const string Loader = "()Ljava/lang/ClassLoader;";
            using (JavaClass threads = FindClass("java/lang/Thread"))
            using (JavaClass loaders = FindClass("java/lang/ClassLoader"))
            using (JavaObject thread = threads.CallStatic<JavaObject>("currentThread", "()Ljava/lang/Thread;"))
            using (JavaObject before = thread.Call<JavaObject>("getContextClassLoader", Loader))
            {
                if (before != null) return;
                using (JavaObject loader = loaders.CallStatic<JavaObject>("getSystemClassLoader", Loader))
                {
                    thread.Call("setContextClassLoader", "(Ljava/lang/ClassLoader;)V", loader);
                }
            }
        }
    }
}
