//! Starting Java, with an application's own options. They go to the service through the host library's values of an
//! application, keys of the configuration that stand before those of the registry. Which of them the service reads depends on
//! the host's name; so all of them are set, and taken back when the start fails.

use crate::sys::{self, Com, CreateJavaVm, GetCreatedJavaVms, Raw, SetApplicationValue, Status};
use crate::{Error, Jvm, Result};
use std::env;
use std::ffi::{OsStr, OsString};
use std::os::windows::ffi::{OsStrExt, OsStringExt};
use std::path::{Path, PathBuf};
use std::ptr::{null, null_mut};
use std::sync::{Mutex, PoisonError};

/// What a start of Java asks for. Heap and options together replace the configured options whole, properties and `compiled`
/// the configured properties; a path that is not absolute lies in the folder of the program.
///
/// ```no_run
/// let jvm = qvjvm::Jvm::options()
///     .heap(512 << 20)
///     .class_path(["lib/*", "reports.jar"])
///     .property("user.language", "en")
///     .compiled()
///     .start()?;
/// # Ok::<(), qvjvm::Error>(())
/// ```
#[derive(Clone, Debug, Default)]
#[must_use]
pub struct Options {
    heap: u64,
    options: Vec<OsString>,
    properties: Vec<(OsString, OsString)>,
    compiled: bool,
    class_path: Vec<PathBuf>,
    runtime: Option<PathBuf>,
    log_file: Option<(PathBuf, u32)>,
    context_class_loader: bool,
    library: Option<PathBuf>,
}

impl Options {
    /// Nothing is asked for.
    pub fn new() -> Options {
        Options::default()
    }

    /// The heap's most bytes, rounded up to KiB.
    pub fn heap(mut self, bytes: u64) -> Self {
        self.heap = bytes;
        self
    }

    /// An option of the JVM, `-XX:+UseSerialGC`. They come behind the heap in the order of the calls.
    pub fn option(mut self, text: impl AsRef<OsStr>) -> Self {
        self.options.push(text.as_ref().to_owned());
        self
    }

    /// A system property of Java.
    pub fn property(mut self, name: impl AsRef<OsStr>, value: impl AsRef<OsStr>) -> Self {
        self.properties.push((name.as_ref().to_owned(), value.as_ref().to_owned()));
        self
    }

    /// Compiled Java: no property `java.compiler`, with which runtimes before 21 interpret all Java code.
    pub fn compiled(mut self) -> Self {
        self.compiled = true;
        self
    }

    /// Files and folders of the class path, before the configured ones. `lib/*` stands for the jars of `lib`, sorted by name
    /// without case; that folder has to be there.
    pub fn class_path<P: AsRef<Path>>(mut self, entries: impl IntoIterator<Item = P>) -> Self {
        self.class_path.extend(entries.into_iter().map(|entry| entry.as_ref().to_owned()));
        self
    }

    /// The folder of a JRE or JDK, before what `JAVA_HOME` and the registry name.
    pub fn runtime(mut self, folder: impl AsRef<Path>) -> Self {
        self.runtime = Some(folder.as_ref().to_owned());
        self
    }

    /// Where the JVM's output goes once it runs: a file, which begins anew, while `kept` older ones stay, the youngest as
    /// `path.1`.
    pub fn log_file(mut self, path: impl AsRef<Path>, kept: u32) -> Self {
        self.log_file = Some((path.as_ref().to_owned(), kept));
        self
    }

    /// Gives the thread that starts Java a context class loader; see
    /// [`Java::use_context_class_loader`](crate::Java::use_context_class_loader).
    pub fn context_class_loader(mut self) -> Self {
        self.context_class_loader = true;
        self
    }

    /// The service's DLL, which stays loaded; `qvjvm.dll` unless told, where Windows looks for DLLs.
    pub fn library(mut self, path: impl AsRef<Path>) -> Self {
        self.library = Some(path.as_ref().to_owned());
        self
    }

    /// Starts Java, or joins the JVM that runs in the process; [`Jvm::ignored`] tells what came too late for that. Starts by
    /// this crate wait for each other. While it runs, nothing else may start the service or use `JAVA_HOME`. A process in which
    /// no runtime was found does not look again.
    ///
    /// # Errors
    /// When the service cannot be loaded, when there is no Java VM to be had, for an option, path or runtime that cannot be,
    /// and when the host library has no settings of an application, which everything but the class path and the log needs.
    /// The text says which.
    pub fn start(&self) -> Result<Jvm> {
        static ONE_AT_A_TIME: Mutex<()> = Mutex::new(());
        let _alone = ONE_AT_A_TIME.lock().unwrap_or_else(PoisonError::into_inner);
        let log = match &self.log_file {
            Some((path, kept)) => Some((in_host_folder(path)?, *kept)),
            None => None,
        };
        let create = self.load()?;
        let (service, ignored) = if jvm_runs()? {
            (create_vm(create, None)?.0, self.asked())
        } else {
            let (service, status) = self.create(create)?;
            // Another thread was quicker.
            (service, if status == sys::S_CLASSPATH_IGNORED { self.asked() } else { Vec::new() })
        };
        let jvm = Jvm::open(service, ignored)?;
        if let Some((path, kept)) = log {
            keep_logs(&path, kept);
            jvm.set_log_file(path)?;
        }
        if self.context_class_loader {
            jvm.with(|java| java.use_context_class_loader())?;
        }
        Ok(jvm)
    }

    fn load(&self) -> Result<CreateJavaVm> {
        let plain = PathBuf::from("qvjvm.dll");
        let path = self.library.as_ref().unwrap_or(&plain);
        let service = unsafe {
            if path.components().count() == 1 {
                sys::LoadLibraryW(wide(path.as_os_str())?.as_ptr())
            } else {
                // With a path, the DLLs that it needs are looked for beside it.
                let full = full_path(path)?;
                sys::LoadLibraryExW(full.as_ptr(), null_mut(), sys::LOAD_WITH_ALTERED_SEARCH_PATH)
            }
        };
        if service.is_null() {
            let why = std::io::Error::last_os_error();
            let status = why.raw_os_error().unwrap_or(sys::E_FAIL);
            return Err(Error::service(status, format!("cannot load {}: {}", path.display(), why)));
        }
        unsafe { sys::exported(service, "QV_CreateJavaVM\0") }
            .ok_or_else(|| Error::service(sys::E_FAIL, format!("{} is not the Java VM Service", path.display())))
    }

    /// What is asked for, by the names of the functions; neither the log nor the context class loader can come too late.
    fn asked(&self) -> Vec<&'static str> {
        let all = [
            (self.heap != 0, "heap"),
            (!self.options.is_empty(), "option"),
            (!self.properties.is_empty(), "property"),
            (self.compiled, "compiled"),
            (!self.class_path.is_empty(), "class_path"),
            (self.runtime.is_some(), "runtime"),
        ];
        all.iter().filter(|(asked, _)| *asked).map(|(_, name)| *name).collect()
    }

    /// No JVM runs.
    fn create(&self, create: CreateJavaVm) -> Result<(Com, Status)> {
        self.check()?;
        let class_path = self.make_class_path()?;
        let runtime = self.runtime.as_deref().map(find_runtime).transpose()?;
        let mut settings = None;
        if self.has_options() || self.has_properties() || runtime.is_some() {
            let host = unsafe { sys::GetModuleHandleW(wide("qvshr.dll".as_ref())?.as_ptr()) };
            let set = unsafe { sys::exported::<SetApplicationValue>(host, "QvshrSetApplicationValue\0") };
            let set = set.ok_or_else(|| {
                let text = "the host library qvshr.dll has no settings of an application (QvshrSetApplicationValue): heap, \
                            options, properties, compiled and the runtime are set in the registry";
                Error::service(sys::E_FAIL, text.to_owned())
            })?;
            settings = Some(Settings { set, keys: Vec::new(), keep: false });
        }
        if let Some(settings) = &mut settings {
            self.configure(settings, runtime.as_ref())?;
        }
        let _home = runtime.as_ref().map(|(folder, _)| Variable::change("JAVA_HOME", folder.as_os_str()));
        let created = create_vm(create, class_path.as_deref())?;
        if let Some(settings) = &mut settings {
            settings.keep = true;
        }
        Ok(created)
    }

    fn has_options(&self) -> bool {
        self.heap != 0 || !self.options.is_empty()
    }

    fn has_properties(&self) -> bool {
        self.compiled || !self.properties.is_empty()
    }

    /// Texts that the configuration cannot hold.
    fn check(&self) -> Result<()> {
        for option in &self.options {
            if option.encode_wide().next() != Some(u16::from(b'-')) {
                let text = format!("an option of the JVM begins with '-', and this does not: {}", option.to_string_lossy());
                return Err(Error::invalid(text));
            }
        }
        if self.properties.iter().any(|(name, _)| name.is_empty()) {
            return Err(Error::invalid("a property has no name".to_owned()));
        }
        Ok(())
    }

    fn make_class_path(&self) -> Result<Option<OsString>> {
        let mut all: Vec<PathBuf> = Vec::new();
        for entry in &self.class_path {
            if entry.as_os_str().is_empty() {
                return Err(Error::invalid("an entry of the class path is empty".to_owned()));
            }
            let path = in_host_folder(entry)?;
            if path.file_name() == Some(OsStr::new("*")) {
                all.extend(jars_of(path.parent().unwrap_or(&path))?);
            } else {
                all.push(path);
            }
        }
        if all.is_empty() {
            return Ok(None);
        }
        // Windows' own separator; a path with one inside cannot be told to Java.
        let mut text = OsString::new();
        for path in all {
            if !text.is_empty() {
                text.push(";");
            }
            text.push(path);
        }
        Ok(Some(text))
    }

    fn configure(&self, settings: &mut Settings, runtime: Option<&(PathBuf, PathBuf)>) -> Result<()> {
        let mut options = Vec::new();
        if self.heap != 0 {
            options.push(OsString::from(heap_option(self.heap)));
        }
        options.extend(self.options.iter().cloned());
        for key in CONFIG_KEYS {
            if self.has_options() {
                let key = settings.begin(&format!("{}QVJVMconfig", key))?;
                for (i, option) in options.iter().enumerate() {
                    settings.set(&key, OsStr::new(&i.to_string()), option)?;
                }
                settings.set(&key, OsStr::new("Count"), OsStr::new(&options.len().to_string()))?;
            }
            if self.has_properties() {
                let key = settings.begin(&format!("{}QVJVMprops", key))?;
                for (name, value) in &self.properties {
                    if !(self.compiled && name == "java.compiler") {
                        settings.set(&key, name, value)?;
                    }
                }
            }
        }
        if let Some((folder, jvm_folder)) = runtime {
            for key in JAVA_KEYS {
                let key = settings.key(key)?;
                settings.set(&key, OsStr::new("JDKLocation"), folder.as_os_str())?;
                settings.set(&key, OsStr::new("JREBinLocation"), jvm_folder.as_os_str())?;
            }
        }
        Ok(())
    }
}

/// The places where the service looks for the configuration: of one product, for known or unknown hosts.
const CONFIG_KEYS: [&str; 4] = [
    r"HKLM\Software\Harlowe\Quovant\19.0\Java\QVRTConfig\",
    r"HKLM\Software\Harlowe\Quovant\19.0\Java\QVIDEConfig\",
    r"HKLM\Software\Harlowe\Tablero\19.0\Java\QVIDEConfig\",
    r"HKLM\Software\Harlowe\Loomhall\2.0\DBComponents\Java\QVIDEConfig\",
];
const JAVA_KEYS: [&str; 3] = [
    r"HKLM\Software\Harlowe\Quovant\19.0\Java",
    r"HKLM\Software\Harlowe\Tablero\19.0\Java",
    r"HKLM\Software\Harlowe\Loomhall\2.0\DBComponents\Java",
];

/// The application's values that were set; taken back unless they are to be kept.
struct Settings {
    set: SetApplicationValue,
    keys: Vec<Vec<u16>>,
    keep: bool,
}

impl Settings {
    /// Takes back what a key had.
    fn key(&mut self, key: &str) -> Result<Vec<u16>> {
        let key = wide(key.as_ref())?;
        self.keys.push(key.clone());
        self.call(&key, null(), null())?;
        Ok(key)
    }

    /// An empty key: nothing of it comes from the file or the registry.
    fn begin(&mut self, key: &str) -> Result<Vec<u16>> {
        let key = self.key(key)?;
        self.set(&key, OsStr::new("Count"), OsStr::new("0"))?;
        let name = wide("Count".as_ref())?;
        self.call(&key, name.as_ptr(), null())?;
        Ok(key)
    }

    fn set(&self, key: &[u16], name: &OsStr, value: &OsStr) -> Result<()> {
        let (name, value) = (wide(name)?, wide(value)?);
        self.call(key, name.as_ptr(), value.as_ptr())
    }

    fn call(&self, key: &[u16], name: *const u16, value: *const u16) -> Result<()> {
        let status = unsafe { (self.set)(key.as_ptr(), name, value) };
        if status >= 0 {
            return Ok(());
        }
        Err(Error::service(status, "the host library does not take the application's settings".to_owned()))
    }
}

impl Drop for Settings {
    fn drop(&mut self) {
        if !self.keep {
            for key in &self.keys {
                unsafe { (self.set)(key.as_ptr(), null(), null()) };
            }
        }
    }
}

/// A variable of the environment that is put back.
struct Variable {
    name: &'static str,
    before: Option<OsString>,
}

impl Variable {
    fn change(name: &'static str, value: &OsStr) -> Variable {
        let before = env::var_os(name);
        env::set_var(name, value);
        Variable { name, before }
    }
}

impl Drop for Variable {
    fn drop(&mut self) {
        match &self.before {
            Some(value) => env::set_var(self.name, value),
            None => env::remove_var(self.name),
        }
    }
}

/// Text as Windows takes it.
pub(crate) fn wide(text: &OsStr) -> Result<Vec<u16>> {
    let mut units: Vec<u16> = text.encode_wide().collect();
    if units.contains(&0) {
        return Err(Error::invalid(format!("{:?} has a null inside", text)));
    }
    units.push(0);
    Ok(units)
}

fn heap_option(bytes: u64) -> String {
    let kib = bytes / 1024 + u64::from(bytes % 1024 != 0);
    if kib % 1024 == 0 {
        format!("-Xmx{}m", kib / 1024)
    } else {
        format!("-Xmx{}k", kib)
    }
}

/// What fills a buffer, and gives the units that it wrote or, where they are too many, wants.
fn filled(fill: impl Fn(*mut u16, u32) -> u32) -> Vec<u16> {
    let mut units = vec![0; 300];
    loop {
        let count = fill(units.as_mut_ptr(), units.len() as u32) as usize;
        if count < units.len() {
            units.truncate(count);
            return units;
        }
        units.resize(units.len() * 2, 0);
    }
}

fn full_path(path: &Path) -> Result<Vec<u16>> {
    let path = wide(path.as_os_str())?;
    let mut full = filled(|to, units| unsafe { sys::GetFullPathNameW(path.as_ptr(), units, to, null_mut()) });
    full.push(0);
    Ok(full)
}

fn path_of_module(module: Raw) -> PathBuf {
    OsString::from_wide(&filled(|to, units| unsafe { sys::GetModuleFileNameW(module, to, units) })).into()
}

/// A path with Windows' separators; one that is not absolute lies in the folder of the program.
fn in_host_folder(path: &Path) -> Result<PathBuf> {
    let units = wide(path.as_os_str())?;
    let slash = |unit: u16| if unit == u16::from(b'/') { u16::from(b'\\') } else { unit };
    let units: Vec<u16> = units[..units.len() - 1].iter().copied().map(slash).collect();
    let absolute = units.first() == Some(&u16::from(b'\\')) || units.get(1) == Some(&u16::from(b':'));
    let path = PathBuf::from(OsString::from_wide(&units));
    if absolute {
        return Ok(path);
    }
    let program = path_of_module(null_mut());
    Ok(program.parent().map_or_else(|| path.clone(), |folder| folder.join(&path)))
}

/// The jars of a folder, sorted by name without case.
fn jars_of(folder: &Path) -> Result<Vec<PathBuf>> {
    let missing = |_| {
        let text = format!("the class path names the jars of a folder that is not there: {}", folder.display());
        Error::invalid(text)
    };
    let mut jars: Vec<(String, PathBuf)> = Vec::new();
    for entry in std::fs::read_dir(folder).map_err(missing)? {
        let path = entry.map_err(missing)?.path();
        let is_jar = path.extension().map_or(false, |extension| extension.eq_ignore_ascii_case("jar"));
        if is_jar && !path.is_dir() {
            let name = path.file_name().map(|name| name.to_string_lossy().to_uppercase());
            jars.push((name.unwrap_or_default(), path));
        }
    }
    jars.sort();
    Ok(jars.into_iter().map(|(_, path)| path).collect())
}

/// The folder of the runtime and, below it, that of its jvm.dll.
fn find_runtime(path: &Path) -> Result<(PathBuf, PathBuf)> {
    // Without a separator at its end.
    let runtime: PathBuf = in_host_folder(path)?.components().collect();
    let below = [r"bin\server", r"bin\client", r"jre\bin\server", r"jre\bin\client"];
    let found = below.iter().map(|below| runtime.join(below)).find(|folder| folder.join("jvm.dll").is_file());
    found
        .map(|folder| (runtime.clone(), folder))
        .ok_or_else(|| Error::invalid(format!("there is no Java runtime, bin\\server\\jvm.dll, in {}", runtime.display())))
}

/// `path.1` becomes `path.2`, and so on; the last one goes. One that cannot be moved stays where it is.
fn keep_logs(path: &Path, kept: u32) {
    let numbered = |i: u32| {
        let mut name = path.as_os_str().to_owned();
        if i > 0 {
            name.push(format!(".{}", i));
        }
        name
    };
    for i in (0..kept).rev() {
        let _ = std::fs::rename(numbered(i), numbered(i + 1));
    }
}

fn loaded_jvm() -> Result<Raw> {
    Ok(unsafe { sys::GetModuleHandleW(wide("jvm.dll".as_ref())?.as_ptr()) })
}

fn jvm_runs() -> Result<bool> {
    let (mut vm, mut count): (Raw, i32) = (null_mut(), 0);
    let created = unsafe { sys::exported::<GetCreatedJavaVms>(loaded_jvm()?, "JNI_GetCreatedJavaVMs\0") };
    Ok(created.map_or(false, |created| unsafe { created(&mut vm, 1, &mut count) == 0 && count > 0 }))
}

fn create_vm(create: CreateJavaVm, class_path: Option<&OsStr>) -> Result<(Com, Status)> {
    let class_path = class_path.map(wide).transpose()?;
    let mut service: Com = null_mut();
    let status = unsafe { create(&mut service, class_path.as_ref().map_or(null(), |units| units.as_ptr())) };
    if status < 0 || service.is_null() {
        return Err(Error::service(if status < 0 { status } else { sys::E_FAIL }, explain()?));
    }
    Ok((service, status))
}

/// Why there is no Java VM, as far as it can be seen from outside.
fn explain() -> Result<String> {
    let name = wide("jvm.dll".as_ref())?;
    let found = filled(|to, units| unsafe { sys::SearchPathW(null(), name.as_ptr(), null(), units, to, null_mut()) });
    let loaded = loaded_jvm()?;
    let why = if !loaded.is_null() {
        format!("{} refused to start", path_of_module(loaded).display())
    } else if !found.is_empty() {
        let path = PathBuf::from(OsString::from_wide(&found));
        let units = wide(path.as_os_str())?;
        let again = unsafe { sys::LoadLibraryExW(units.as_ptr(), null_mut(), sys::LOAD_WITH_ALTERED_SEARCH_PATH) };
        if again.is_null() {
            format!("{} cannot be loaded: {}", path.display(), std::io::Error::last_os_error())
        } else {
            unsafe { sys::FreeLibrary(again) };
            format!("{} could not be used", path.display())
        }
    } else {
        let home = env::var_os("JAVA_HOME").filter(|home| !home.is_empty());
        let home = home.map_or_else(|| "not set".to_owned(), |home| home.to_string_lossy().into_owned());
        format!("no Java runtime was found; JAVA_HOME is {}", home)
    };
    let log = env::var_os("LOCALAPPDATA").map_or_else(|| "the local application data".into(), PathBuf::from);
    Ok(format!(
        "no Java VM: {}. qvjvm-doctor.exe tells what was tried; what Java says itself is in vm.out, in {}",
        why,
        log.display()
    ))
}

#[cfg(test)]
mod tests {
    use super::*;

    #[test]
    fn the_heap_is_rounded_up() {
        assert_eq!(heap_option(512 << 20), "-Xmx512m");
        assert_eq!(heap_option((1 << 20) + 1), "-Xmx1025k");
        assert_eq!(heap_option(1), "-Xmx1k");
        assert_eq!(heap_option(u64::MAX), "-Xmx17592186044416m");
    }

    #[test]
    fn paths_lie_beside_the_program() {
        let program = env::current_exe().unwrap();
        assert_eq!(in_host_folder(Path::new("lib/a.jar")).unwrap(), program.parent().unwrap().join(r"lib\a.jar"));
        assert_eq!(in_host_folder(Path::new("C:/a/b")).unwrap(), Path::new(r"C:\a\b"));
        assert_eq!(in_host_folder(Path::new(r"\\server\share")).unwrap(), Path::new(r"\\server\share"));
    }

    #[test]
    fn jars_are_sorted_and_nothing_else_is_taken() {
        let folder = env::temp_dir().join(format!("qvjvm-jars-{}", std::process::id()));
        std::fs::create_dir_all(folder.join("folder.jar")).unwrap();
        for name in ["b.jar", "A.JAR", "notes.txt", "C.Jar"] {
            std::fs::write(folder.join(name), "").unwrap();
        }
        let found = jars_of(&folder).unwrap();
        std::fs::remove_dir_all(&folder).unwrap();
        assert_eq!(found, ["A.JAR", "b.jar", "C.Jar"].map(|name| folder.join(name)));
        assert!(jars_of(&folder).unwrap_err().to_string().contains("not there"));
    }

    #[test]
    fn what_cannot_be_is_refused_before_java() {
        let refused = |options: Options| options.check().and_then(|_| options.make_class_path()).unwrap_err().to_string();
        assert!(refused(Options::new().option("Xmx1m")).contains("begins with '-'"));
        assert!(refused(Options::new().property("", "a")).contains("no name"));
        assert!(refused(Options::new().class_path([""])).contains("empty"));
        assert!(refused(Options::new().class_path(["a\0b"])).contains("null"));
        assert!(find_runtime(Path::new("nowhere")).unwrap_err().to_string().contains("nowhere"));
    }

    #[test]
    fn what_is_asked_for_has_the_functions_names() {
        let options = Options::new().heap(1).option("-a").property("b", "c").compiled().class_path(["d"]).runtime("e");
        assert_eq!(options.asked(), ["heap", "option", "property", "compiled", "class_path", "runtime"]);
        assert!(Options::new().log_file("f", 1).context_class_loader().library("g").asked().is_empty());
    }

    #[test]
    fn the_older_logs_move_on() {
        let folder = env::temp_dir().join(format!("qvjvm-logs-{}", std::process::id()));
        std::fs::create_dir_all(&folder).unwrap();
        let log = folder.join("vm.log");
        for text in ["first", "second", "third", "fourth"] {
            keep_logs(&log, 2);
            std::fs::write(&log, text).unwrap();
        }
        let mut names: Vec<_> = std::fs::read_dir(&folder).unwrap().map(|file| file.unwrap().file_name()).collect();
        names.sort();
        let texts = ["vm.log", "vm.log.1", "vm.log.2"].map(|name| std::fs::read_to_string(folder.join(name)).unwrap());
        std::fs::remove_dir_all(&folder).unwrap();
        assert_eq!(names, ["vm.log", "vm.log.1", "vm.log.2"]);
        assert_eq!(texts, ["fourth", "third", "second"]);
    }
}
