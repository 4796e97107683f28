using System;
using System.Collections.Generic;
using System.IO;
using System.Runtime.InteropServices;

namespace Qvjvm
{
    /// <summary>
    /// Starts the Java VM. The options go to the service through the host library's values of an application: keys of the
    /// configuration that stand before those of the registry. Which of them the service reads depends on the host's name;
    /// so all of them are set. When the start fails they are taken back.
    /// </summary>
    internal static class Starting
    {
        private const string ServiceName = "qvjvm.dll";
        private const string HostName = "qvshr.dll";
        private const int ClassPathIgnored = 8;
        private const int NotImplemented = unchecked((int)0x80004001);
        private const int Failed = unchecked((int)0x80004005);

        /// <summary>Where the service looks for its lists: of each product, for known and unknown hosts.</summary>
        private static readonly string[] ConfigKeys =
        {
            @"HKLM\Software\Harlowe\Quovant\19.0\Java\QVRTConfig\",
            @"HKLM\Software\Harlowe\Quovant\19.0\Java\QVIDEConfig\",
            @"HKLM\Software\Harlowe\Tablero\19.0\Java\QVIDEConfig\",
            @"HKLM\Software\Harlowe\Loomhall\2.0\DBComponents\Java\QVIDEConfig\"
        };

        /// <summary>Where it looks for a runtime.</summary>
        private static readonly string[] JavaKeys =
        {
            @"HKLM\Software\Harlowe\Quovant\19.0\Java",
            @"HKLM\Software\Harlowe\Tablero\19.0\Java",
            @"HKLM\Software\Harlowe\Loomhall\2.0\DBComponents\Java"
        };

        private static readonly object Lock = new object();
        private static CreateFn create;
        private static string loadedFrom;

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate int CreateFn(IntPtr vm, [MarshalAs(UnmanagedType.LPWStr)] string classPath);

        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        private delegate int SetValueFn([MarshalAs(UnmanagedType.LPWStr)] string key,
                                        [MarshalAs(UnmanagedType.LPWStr)] string name,
                                        [MarshalAs(UnmanagedType.LPWStr)] string value);

        [UnmanagedFunctionPointer(CallingConvention.Winapi)]
        private delegate int CreatedVmsFn(out IntPtr vm, int capacity, out int count);

        internal static JavaIgnored Start(JavaOptions options)
        {
            if (IntPtr.Size != 8 || Environment.OSVersion.Platform != PlatformID.Win32NT)
            {
                throw new PlatformNotSupportedException("the Java VM Service is for 64-bit programs of Windows");
            }
            Check(options);
            lock (Lock)
            {
                if (Service.IsStarted)
                {
                    if (options.LogFile != null) SetLog(options);
                    return WhatIsAsked(options);
                }
                Load(options.Library);
                bool joins = Native.HasJavaVm();
                IntPtr vm = joins ? Create(null, out int status) : CreateWith(options, out status);
                Service.Open(vm);
                if (options.LogFile != null) SetLog(options);
                // With that status other code was quicker.
                return joins || status == ClassPathIgnored ? WhatIsAsked(options) : JavaIgnored.None;
            }
        }

        /// <summary>A path that is not absolute lies in the program's folder.</summary>
        internal static string FullPath(string path, string parameter)
        {
            if (path == null) throw new ArgumentNullException(parameter);
            if (path.Length == 0 || path.IndexOf('\0') >= 0)
            {
                throw new ArgumentException("a path is empty or has a null in it", parameter);
            }
            bool isAbsolute = IsSeparator(path[0]) || path.Length > 1 && path[1] == ':';
            return isAbsolute ? path : AppContext.BaseDirectory + path;
        }

        private static bool IsSeparator(char unit)
        {
            return unit == '\\' || unit == '/';
        }

        // ---- what was asked ----

        private static void Check(JavaOptions options)
        {
            if (options.HeapBytes < 0) throw new ArgumentException("a heap has no negative size", "options");
            if (options.LogFilesKept < 0) throw new ArgumentException("LogFilesKept is negative", "options");
            foreach (string option in options.Options)
            {
                if (string.IsNullOrEmpty(option) || option[0] != '-' || option.IndexOf('\0') >= 0)
                {
                    throw new ArgumentException(
                        "an option of the Java VM begins with '-' and has no null in it, and this is none: " + option,
                        "options");
                }
            }
            foreach (KeyValuePair<string, string> property in options.Properties)
            {
                if (property.Key.Length == 0) throw new ArgumentException("a property has no name", "options");
                if (property.Key.IndexOf('\0') >= 0 || property.Value != null && property.Value.IndexOf('\0') >= 0)
                {
                    throw new ArgumentException("a property has a null in it: " + property.Key, "options");
                }
            }
            foreach (string entry in options.ClassPath)
            {
                if (string.IsNullOrEmpty(entry)) throw new ArgumentException("an entry of the class path is empty", "options");
                FullPath(entry, "options");
            }
            foreach (string path in new[] { options.Runtime, options.LogFile, options.Library })
            {
                if (path != null) FullPath(path, "options");
            }
        }

        private static JavaIgnored WhatIsAsked(JavaOptions options)
        {
            return (options.HeapBytes != 0 ? JavaIgnored.Heap : 0) |
                   (options.Options.Count != 0 ? JavaIgnored.Options : 0) |
                   (options.Properties.Count != 0 ? JavaIgnored.Properties : 0) |
                   (options.Compiled ? JavaIgnored.Compiled : 0) |
                   (options.ClassPath.Count != 0 ? JavaIgnored.ClassPath : 0) |
                   (options.Runtime != null ? JavaIgnored.Runtime : 0);
        }

        private static string MakeClassPath(JavaOptions options)
        {
            List<string> entries = new List<string>();
            foreach (string entry in options.ClassPath)
            {
                string path = FullPath(entry, "options");
                if (!path.EndsWith("\\*", StringComparison.Ordinal) && !path.EndsWith("/*", StringComparison.Ordinal))
                {
                    entries.Add(path);
                    continue;
                }
                string folder = path.Substring(0, path.Length - 1);
                if (!Directory.Exists(folder))
                {
                    throw new ArgumentException("the class path names the jars of a folder that is not there: " + folder,
                                                "options");
                }
                List<string> jars = new List<string>();
                foreach (string file in Directory.GetFiles(folder))
                {
                    if (file.EndsWith(".jar", StringComparison.OrdinalIgnoreCase)) jars.Add(folder + Path.GetFileName(file));
                }
                jars.Sort(CompareNames);
                entries.AddRange(jars);
            }
            return entries.Count != 0 ? string.Join(";", entries) : null;
        }

        private static int CompareNames(string left, string right)
        {
            int withoutCase = string.Compare(left, right, StringComparison.OrdinalIgnoreCase);
            return withoutCase != 0 ? withoutCase : string.CompareOrdinal(left, right);
        }

        /// <summary>The folder of a runtime's jvm.dll.</summary>
        private static string FindJvm(string runtime)
        {
            foreach (string below in new[] { @"\bin\server", @"\bin\client", @"\jre\bin\server", @"\jre\bin\client" })
            {
                if (File.Exists(runtime + below + @"\jvm.dll")) return runtime + below;
            }
            throw new ArgumentException(@"there is no Java runtime, bin\server\jvm.dll, in " + runtime, "options");
        }

        // ---- the configuration ----

        /// <summary>Sets the values of an application, or takes them back.</summary>
        private static void Configure(SetValueFn set, JavaOptions options, string runtime, string jvmFolder, bool remove)
        {
            bool hasOptions = options.HeapBytes != 0 || options.Options.Count != 0;
            bool hasProperties = options.Compiled || options.Properties.Count != 0;
            foreach (string key in ConfigKeys)
            {
                if (hasOptions) SetKey(set, key + "QVJVMconfig", remove ? null : OptionValues(options));
                if (hasProperties) SetKey(set, key + "QVJVMprops", remove ? null : PropertyValues(options));
            }
            if (runtime == null) return;
            foreach (string key in JavaKeys)
            {
                Set(set, key, null, null);
                if (remove) continue;
                Set(set, key, "JDKLocation", runtime);
                Set(set, key, "JREBinLocation", jvmFolder);
            }
        }

        private static List<KeyValuePair<string, string>> OptionValues(JavaOptions options)
        {
            List<string> texts = new List<string>();
            if (options.HeapBytes != 0)
            {
                long kib = options.HeapBytes / 1024 + (options.HeapBytes % 1024 != 0 ? 1 : 0);
                texts.Add("-Xmx" + (kib % 1024 == 0 ? kib / 1024 + "m" : kib + "k"));
            }
            texts.AddRange(options.Options);
            List<KeyValuePair<string, string>> values = new List<KeyValuePair<string, string>>();
            for (int i = 0; i < texts.Count; ++i) values.Add(new KeyValuePair<string, string>(i.ToString(), texts[i]));
            values.Add(new KeyValuePair<string, string>("Count", texts.Count.ToString()));
            return values;
        }

        private static List<KeyValuePair<string, string>> PropertyValues(JavaOptions options)
        {
            List<KeyValuePair<string, string>> values = new List<KeyValuePair<string, string>>();
            foreach (KeyValuePair<string, string> property in options.Properties)
            {
                if (!options.Compiled || property.Key != "java.compiler") values.Add(property);
            }
            return values;
        }

        /// <summary>A key with these values alone: nothing of it comes from the file or the registry. Null gives it
        /// back.</summary>
        private static void SetKey(SetValueFn set, string key, List<KeyValuePair<string, string>> values)
        {
            Set(set, key, null, null);
            if (values == null) return;
            Set(set, key, "Count", "0");
            Set(set, key, "Count", null);
            foreach (KeyValuePair<string, string> value in values) Set(set, key, value.Key, value.Value ?? "");
        }

        private static void Set(SetValueFn set, string key, string name, string value)
        {
            int status = set(key, name, value);
            if (status < 0) throw new JavaStartException("the host library takes no setting for " + key, status);
        }

        // ---- the start ----

        private static IntPtr CreateWith(JavaOptions options, out int status)
        {
            string classPath = MakeClassPath(options);
            string runtime = options.Runtime != null ? FullPath(options.Runtime, "options").TrimEnd('\\', '/') : null;
            string jvmFolder = runtime != null ? FindJvm(runtime) : null;
            bool needsHost = (WhatIsAsked(options) & ~JavaIgnored.ClassPath) != 0;
            SetValueFn set = needsHost ? FindSettings() : null;
            bool started = false;
            string oldHome = Environment.GetEnvironmentVariable("JAVA_HOME");
            try
            {
                if (set != null) Configure(set, options, runtime, jvmFolder, false);
                if (runtime != null) Environment.SetEnvironmentVariable("JAVA_HOME", runtime);
                IntPtr vm = Create(classPath, out status);
                started = true;
                return vm;
            }
            finally
            {
                if (runtime != null) Environment.SetEnvironmentVariable("JAVA_HOME", oldHome);
                if (!started && set != null) Configure(set, options, runtime, jvmFolder, true);
            }
        }

        private static SetValueFn FindSettings()
        {
            IntPtr function = Native.FindFunction(HostName, "QvshrSetApplicationValue");
            if (function != IntPtr.Zero) return Marshal.GetDelegateForFunctionPointer<SetValueFn>(function);
            throw new JavaStartException("the host library " + HostName + " has no settings of an application " +
                                         "(QvshrSetApplicationValue): heap, options, properties, Compiled and the runtime " +
                                         "are set in the registry", NotImplemented);
        }

        private static unsafe IntPtr Create(string classPath, out int status)
        {
            IntPtr vm = IntPtr.Zero;
            status = create((IntPtr)(&vm), classPath);
            if (status >= 0 && vm != IntPtr.Zero) return vm;
            throw new JavaStartException(Explain(), status < 0 ? status : Failed);
        }

        /// <summary>Why there is no Java VM, as far as it can be seen from outside.</summary>
        private static string Explain()
        {
            string loaded = Native.PathOf("jvm.dll");
            string found = loaded == null ? Native.Search("jvm.dll") : null;
            string why;
            if (loaded != null) why = loaded + " refused to start";
            else if (found != null) why = found + " could not be loaded or used";
            else
            {
                string home = Environment.GetEnvironmentVariable("JAVA_HOME");
                why = "no Java runtime was found; JAVA_HOME is " + (string.IsNullOrEmpty(home) ? "not set" : home);
            }
            return "no Java VM: " + why + ". qvjvm-doctor.exe tells what was tried; what Java says itself is in vm.out, in " +
                   Environment.GetFolderPath(Environment.SpecialFolder.LocalApplicationData);
        }

        private static void SetLog(JavaOptions options)
        {
            string path = FullPath(options.LogFile, "options");
            for (int i = options.LogFilesKept; i > 0; --i)
            {
                Native.Replace(i > 1 ? path + "." + (i - 1) : path, path + "." + i);
            }
            Service.LogFile = path;
        }

        // ---- the library ----

        private static void Load(string library)
        {
            string path = library != null ? Path.GetFullPath(FullPath(library, "options")) : null;
            if (create != null)
            {
                if (path == null || string.Equals(path, loadedFrom, StringComparison.OrdinalIgnoreCase)) return;
                throw new JavaStartException("the service was loaded from " + (loadedFrom ?? ServiceName) +
                                             " already, not from " + path, Failed);
            }
            if (path == null)
            {
                try
                {
                    Native.CreateJavaVm(IntPtr.Zero, null); // only loads it: without a place for the object nothing is started
                }
                catch (DllNotFoundException missing)
                {
                    throw new JavaStartException(ExplainMissing(), missing.HResult, missing);
                }
                catch (EntryPointNotFoundException foreign)
                {
                    throw new JavaStartException(ServiceName + " is not the Java VM Service", foreign.HResult, foreign);
                }
                catch (BadImageFormatException broken)
                {
                    throw new JavaStartException(ServiceName + " or " + HostName + " is no 64-bit DLL", broken.HResult, broken);
                }
                create = Native.CreateJavaVm;
                return;
            }
            IntPtr function = Native.LoadFunction(path, "QV_CreateJavaVM", out int error);
            if (error != 0)
            {
                string text = "cannot load " + path + ", Windows error " + error;
                if (!File.Exists(path)) text += ": it is not there";
                else if (!HasHost(path)) text += ": " + HostName + " is not beside it";
                throw new JavaStartException(text, unchecked((int)0x80070000) | error);
            }
            if (function == IntPtr.Zero) throw new JavaStartException(path + " is not the Java VM Service", Failed);
            create = Marshal.GetDelegateForFunctionPointer<CreateFn>(function);
            loadedFrom = path;
        }

        private static bool HasHost(string service)
        {
            return File.Exists(Path.Combine(Path.GetDirectoryName(service), HostName));
        }

        private static string ExplainMissing()
        {
            string program = AppContext.BaseDirectory;
            foreach (string folder in new[] { program, Path.Combine(program, @"runtimes\win-x64\native") })
            {
                string service = Path.Combine(folder, ServiceName);
                if (!File.Exists(service)) continue;
                return "cannot load " + service + (HasHost(service) ? "" : ": " + HostName + " is not beside it");
            }
            return "cannot find " + ServiceName + "; it and " + HostName + " lie beside the program, in " + program +
                   ", or JavaOptions.Library names it";
        }

        /// <summary>Windows' functions, and the service's.</summary>
        private static unsafe class Native
        {
            private const int WithAlteredSearchPath = 8; // the DLLs that it needs are looked for beside it
            private const int ReplaceExisting = 1;

            [DllImport(ServiceName, EntryPoint = "QV_CreateJavaVM", CallingConvention = CallingConvention.Cdecl,
                       ExactSpelling = true)]
            internal static extern int CreateJavaVm(IntPtr vm, [MarshalAs(UnmanagedType.LPWStr)] string classPath);

            [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true)]
            private static extern IntPtr GetModuleHandleW(string name);

            [DllImport("kernel32.dll", CharSet = CharSet.Ansi, ExactSpelling = true)]
            private static extern IntPtr GetProcAddress(IntPtr module, string name);

            [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true, SetLastError = true)]
            private static extern IntPtr LoadLibraryExW(string path, IntPtr file, int flags);

            [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true)]
            private static extern int GetModuleFileNameW(IntPtr module, char* path, int units);

            [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true)]
            private static extern int SearchPathW(string path, string file, string extension, int units, char* found,
                                                  IntPtr name);

            [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true)]
            private static extern int MoveFileExW(string from, string to, int flags);

            internal static IntPtr FindFunction(string module, string name)
            {
                IntPtr loaded = GetModuleHandleW(module);
                return loaded != IntPtr.Zero ? GetProcAddress(loaded, name) : IntPtr.Zero;
            }

            internal static IntPtr LoadFunction(string path, string name, out int error)
            {
                IntPtr loaded = LoadLibraryExW(path, IntPtr.Zero, WithAlteredSearchPath);
                error = loaded == IntPtr.Zero ? Marshal.GetLastWin32Error() : 0;
                return loaded != IntPtr.Zero ? GetProcAddress(loaded, name) : IntPtr.Zero;
            }

            internal static bool HasJavaVm()
            {
                IntPtr function = FindFunction("jvm.dll", "JNI_GetCreatedJavaVMs");
                if (function == IntPtr.Zero) return false;
                CreatedVmsFn created = Marshal.GetDelegateForFunctionPointer<CreatedVmsFn>(function);
                return created(out IntPtr ignored, 1, out int count) == 0 && count > 0;
            }

            /// <summary>Where a module was loaded from, or null.</summary>
            internal static string PathOf(string module)
            {
                IntPtr loaded = GetModuleHandleW(module);
                if (loaded == IntPtr.Zero) return null;
                char[] path = new char[32768];
                fixed (char* units = path) return new string(path, 0, GetModuleFileNameW(loaded, units, path.Length));
            }

            /// <summary>Where a DLL would be found, or null.</summary>
            internal static string Search(string file)
            {
                char[] path = new char[32768];
                fixed (char* units = path)
                {
                    int length = SearchPathW(null, file, null, path.Length, units, IntPtr.Zero);
                    return length > 0 && length < path.Length ? new string(path, 0, length) : null;
                }
            }

            internal static void Replace(string from, string to)
            {
                MoveFileExW(from, to, ReplaceExisting);
            }
        }
    }
}
