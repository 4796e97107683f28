//! The Java VM, and the calling thread's part of it.

use crate::signature::java_name;
use crate::sys::{self, place, slot, Com, Env, Raw, Status};
use crate::{error, Arguments, Class, Error, JString, Object, Options, Result};
use std::collections::HashMap;
use std::marker::PhantomData;
use std::path::Path;
use std::ptr::null_mut;
use std::sync::{Arc, Mutex, MutexGuard, PoisonError};

/// The process's Java VM. Clones share one object of the service; any thread may use any clone. The JVM itself lives as
/// long as the process.
#[derive(Clone)]
pub struct Jvm(pub(crate) Arc<Shared>);

/// What a JVM's clones and the lasting references share.
pub(crate) struct Shared {
    service: Com,
    process_ends: Option<unsafe extern "system" fn() -> u8>,
    ignored: Vec<&'static str>,
    joined: bool,
    roots: Roots,
    classes: Mutex<HashMap<String, Kept>>,
    /// Held while the service's record of the last error counts.
    record: Mutex<()>,
}

/// A global reference that the shared part gives back itself.
struct Kept(Raw);

// The service's object may be used on any thread, and so may ids and global references.
unsafe impl Send for Shared {}
unsafe impl Sync for Shared {}

/// Classes and methods that are needed when Java has no memory to look them up; the classes are global references.
#[derive(Clone, Copy)]
pub(crate) struct Roots {
    pub(crate) class: Raw,
    pub(crate) throwable: Raw,
    pub(crate) to_string: Raw,
    pub(crate) get_message: Raw,
    pub(crate) get_cause: Raw,
    pub(crate) get_name: Raw,
    pub(crate) is_primitive: Raw,
}

const NO_ROOTS: Roots = Roots {
    class: null_mut(),
    throwable: null_mut(),
    to_string: null_mut(),
    get_message: null_mut(),
    get_cause: null_mut(),
    get_name: null_mut(),
    is_primitive: null_mut(),
};

impl Drop for Shared {
    fn drop(&mut self) {
        let classes = std::mem::take(self.classes.get_mut().unwrap_or_else(PoisonError::into_inner));
        for Kept(raw) in classes.into_values() {
            self.delete_global(raw);
        }
        self.delete_global(self.roots.class);
        self.delete_global(self.roots.throwable);
        unsafe { sys::invoke!(self.service, slot::RELEASE, () -> u32) };
    }
}

impl Shared {
    /// On any thread. While the process ends Java's threads are gone, and nothing is given back any more.
    pub(crate) fn delete_global(&self, reference: Raw) {
        unsafe {
            if !reference.is_null() && self.process_ends.map_or(true, |ends| ends() == 0) {
                sys::invoke!(self.service, slot::DELETE_GLOBAL_REF, (reference => Raw) -> Status);
            }
        }
    }

    fn text(&self, operation: usize, what: &str) -> Result<String> {
        let mut text: Com = null_mut();
        unsafe {
            let status = sys::invoke!(self.service, operation, (&mut text => *mut Com) -> Status);
            sys::take_text(text).filter(|_| status >= 0).ok_or_else(|| Error::service(status, what.to_owned()))
        }
    }

    fn lock_record(&self) -> MutexGuard<'_, ()> {
        self.record.lock().unwrap_or_else(PoisonError::into_inner)
    }
}

impl Jvm {
    /// Starts Java as the service's configuration says, or joins the JVM that runs in the process.
    ///
    /// # Errors
    /// When `qvjvm.dll` cannot be loaded, and when there is no Java VM to be had: the text says why.
    pub fn start() -> Result<Jvm> {
        Options::new().start()
    }

    /// What a start of Java asks for: heap, options, class path and so on.
    pub fn options() -> Options {
        Options::new()
    }

    /// Runs a function with the calling thread's part of Java, which no reference outlives. The thread joins the JVM at its
    /// first use and leaves it when it ends; it has no context class loader, see [`Java::use_context_class_loader`]. A call
    /// within another on the same thread is all right.
    ///
    /// ```no_run
    /// let jvm = qvjvm::Jvm::start()?;
    /// let largest: i32 = jvm.with(|java| java.find_class("java/lang/Integer")?.static_field("MAX_VALUE"))?;
    /// # Ok::<(), qvjvm::Error>(())
    /// ```
    ///
    /// # Errors
    /// When the thread cannot join the JVM, and those of the function.
    pub fn with<R>(&self, function: impl for<'j> FnOnce(Java<'j>) -> Result<R>) -> Result<R> {
        let env = {
            let _alone = self.0.lock_record();
            let env = unsafe { sys::invoke!(self.0.service, slot::ACQUIRE_THREAD_ENV, () -> Env) };
            if env.is_null() {
                let why = self.0.text(slot::GET_ERROR_TEXT, "this thread cannot join the Java VM");
                return Err(why.map_or_else(|error| error, |text| Error::service(sys::E_FAIL, text)));
            }
            env
        };
        function(Java { env, jvm: self, thread: PhantomData })
    }

    /// The settings that came too late because a JVM ran in the process already, by the names of the functions of
    /// [`Options`].
    #[must_use]
    pub fn ignored(&self) -> &[&'static str] {
        &self.0.ignored
    }

    /// Whether the service created the JVM; false when it joined one.
    #[must_use]
    pub fn created(&self) -> bool {
        !self.0.joined
    }

    /// The Java version that runs, `17.0.9`.
    ///
    /// # Errors
    /// In a JVM that was joined: ask for the system property instead.
    pub fn java_version(&self) -> Result<String> {
        self.0.text(slot::GET_JAVA_VERSION, "the service tells the Java version of a JVM that it created itself alone")
    }

    /// The class path of a created JVM, the service's own one in a joined JVM.
    ///
    /// # Errors
    /// When Java does not tell.
    pub fn class_path(&self) -> Result<String> {
        self.0.text(slot::GET_CLASS_PATH, "no class path")
    }

    /// The file that the JVM's own output goes to.
    ///
    /// # Errors
    /// When there is none.
    pub fn log_file(&self) -> Result<String> {
        self.0.text(slot::GET_LOG_FILE_NAME, "no log file")
    }

    /// Sends the JVM's output to another file, which begins anew. For the whole process.
    ///
    /// # Errors
    /// For a path with a null inside.
    pub fn set_log_file(&self, path: impl AsRef<Path>) -> Result<()> {
        let path = crate::start::wide(path.as_ref().as_os_str())?;
        unsafe { sys::invoke!(self.0.service, slot::SET_LOG_FILE_NAME, (path.as_ptr() => *const u16) -> Status) };
        Ok(())
    }

    /// Drops or logs the JVM's output. For the whole process.
    pub fn set_log_enabled(&self, enabled: bool) {
        let enabled = i32::from(enabled);
        unsafe { sys::invoke!(self.0.service, slot::SET_JVM_LOG_ENABLED, (enabled => i32) -> Status) };
    }

    /// Takes over a service object.
    pub(crate) fn open(service: Com, ignored: Vec<&'static str>) -> Result<Jvm> {
        let mut created = 0;
        let process_ends = unsafe {
            sys::invoke!(service, slot::IS_JVM_CREATED, (&mut created => *mut i32) -> Status);
            let ntdll = sys::GetModuleHandleW(crate::start::wide("ntdll.dll".as_ref())?.as_ptr());
            sys::exported(ntdll, "RtlDllShutdownInProgress\0")
        };
        let shared = |roots| Shared {
            service,
            process_ends,
            ignored,
            joined: created == 0,
            roots,
            classes: Mutex::default(),
            record: Mutex::default(),
        };
        let mut jvm = Jvm(Arc::new(shared(NO_ROOTS)));
        let roots = jvm.with(find_roots)?;
        if let Some(shared) = Arc::get_mut(&mut jvm.0) {
            shared.roots = roots;
        }
        Ok(jvm)
    }
}

impl std::fmt::Debug for Jvm {
    fn fmt(&self, to: &mut std::fmt::Formatter<'_>) -> std::fmt::Result {
        to.debug_struct("Jvm").field("created", &self.created()).finish_non_exhaustive()
    }
}

fn find_roots(java: Java<'_>) -> Result<Roots> {
    let env = java.env;
    let missing = || {
        unsafe { error::clear(env) };
        Error::service(sys::E_FAIL, "Java has no memory, or not the classes that every Java has".to_owned())
    };
    let some = |raw: Raw| if raw.is_null() { Err(missing()) } else { Ok(raw) };
    let method = |class: Raw, name: &str, signature: &str| unsafe {
        let (name, signature) = (java_name(name)?, java_name(signature)?);
        some(sys::invoke!(env, place::GET_METHOD_ID,
            (class => Raw, name.as_ptr() => *const i8, signature.as_ptr() => *const i8) -> Raw))
    };
    let class = |name: &str| unsafe {
        let name = java_name(name)?;
        let local = some(sys::invoke!(env, place::FIND_CLASS, (name.as_ptr() => *const i8) -> Raw))?;
        let global = sys::invoke!(env, place::NEW_GLOBAL_REF, (local => Raw) -> Raw);
        sys::invoke!(env, place::DELETE_LOCAL_REF, (local => Raw));
        some(global)
    };
    let text = "()Ljava/lang/String;";
    let mut roots = NO_ROOTS;
    roots.class = class("java/lang/Class")?;
    roots.throwable = class("java/lang/Throwable")?;
    roots.to_string = method(roots.throwable, "toString", text)?;
    roots.get_message = method(roots.throwable, "getMessage", text)?;
    roots.get_cause = method(roots.throwable, "getCause", "()Ljava/lang/Throwable;")?;
    roots.get_name = method(roots.class, "getName", text)?;
    roots.is_primitive = method(roots.class, "isPrimitive", "()Z")?;
    Ok(roots)
}

/// Java on the calling thread, within [`Jvm::with`]. It stays on that thread, as everything that comes from it:
///
/// ```compile_fail,E0277
/// # let jvm = qvjvm::Jvm::start().unwrap();
/// jvm.with(|java| {
///     let text = java.new_string("mine")?;
///     std::thread::scope(|threads| threads.spawn(|| text.length()).join());
///     Ok(())
/// });
/// ```
///
/// and no reference leaves `with`:
///
/// ```compile_fail
/// # let jvm = qvjvm::Jvm::start().unwrap();
/// let text = jvm.with(|java| java.new_string("mine"));
/// ```
#[derive(Clone, Copy)]
pub struct Java<'j> {
    pub(crate) env: Env,
    jvm: &'j Jvm,
    thread: PhantomData<*mut ()>,
}

impl<'j> Java<'j> {
    /// The Java VM, for other threads and for what lasts.
    #[must_use]
    pub fn jvm(self) -> &'j Jvm {
        self.jvm
    }

    /// A class by its JNI name, `java/lang/String`, or `[I` for an array. In a joined JVM the service's own class path is
    /// searched second.
    ///
    /// # Errors
    /// When there is no such class, or it cannot be initialised.
    pub fn find_class(self, name: &str) -> Result<Class<'j>> {
        let name = java_name(name)?;
        let found = unsafe { sys::invoke!(self.env, place::FIND_CLASS, (name.as_ptr() => *const i8) -> Raw) };
        if !found.is_null() {
            return Ok(Class::of_object(unsafe { Object::own(self, found) }?));
        }
        let why = error::take(self);
        if self.jvm.0.joined {
            let mut found = null_mut();
            let status = unsafe {
                sys::invoke!(self.jvm.0.service, slot::FIND_CLASS,
                    (&mut found => *mut Raw, name.as_ptr() => *const i8) -> Status)
            };
            unsafe { error::clear(self.env) };
            if status >= 0 && !found.is_null() {
                return Ok(Class::of_object(unsafe { Object::own(self, found) }?));
            }
        }
        Err(why)
    }

    /// A new object, by the constructor whose parameters are exactly of the arguments' types. For another one see
    /// [`Class::new_object_as`].
    ///
    /// # Errors
    /// When there is no such class or constructor, and when it raises an exception.
    pub fn new_object(self, class: &str, arguments: impl Arguments) -> Result<Object<'j>> {
        self.find_class(class)?.new_object(arguments)
    }

    /// A new Java string; nulls inside stay.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn new_string(self, text: &str) -> Result<JString<'j>> {
        let units: Vec<u16> = text.encode_utf16().collect();
        self.new_string_of(&units)
    }

    /// A new Java string of UTF-16 units, with halves of pairs too.
    ///
    /// # Errors
    /// When Java has no memory, and for more units than a string can have.
    pub fn new_string_of(self, units: &[u16]) -> Result<JString<'j>> {
        let length = crate::array::java_length(units.len())?;
        let made = unsafe { sys::invoke!(self.env, place::NEW_STRING, (units.as_ptr() => *const u16, length => i32) -> Raw) };
        Ok(JString::of_object(unsafe { Object::own(self, made) }?))
    }

    /// Gives the calling thread Java's own class loader as its context class loader, which some libraries (JNDI, JAXP) ask
    /// for; one that it has already stays.
    ///
    /// # Errors
    /// Java's exceptions.
    pub fn use_context_class_loader(self) -> Result<()> {
        let loader = "()Ljava/lang/ClassLoader;";
        let thread: Object<'_> =
            self.find_class("java/lang/Thread")?.call_static_as("currentThread", "()Ljava/lang/Thread;", ())?;
        if thread.call_as::<Option<Object<'_>>>("getContextClassLoader", loader, ())?.is_none() {
            let system: Object<'_> =
                self.find_class("java/lang/ClassLoader")?.call_static_as("getSystemClassLoader", loader, ())?;
            thread.call_as::<()>("setContextClassLoader", "(Ljava/lang/ClassLoader;)V", (&system,))?;
        }
        Ok(())
    }

    /// The thread's `JNIEnv*`, for JNI by hand. It is good as long as the thread lives; no exception may stay pending.
    #[must_use]
    pub fn env(self) -> *mut std::ffi::c_void {
        self.env.cast()
    }

    /// The object of a JNI reference of any kind, which stays the caller's: an argument of a native method, for one.
    ///
    /// # Errors
    /// When Java has no memory.
    ///
    /// # Safety
    /// The reference is null, or good on this thread.
    pub unsafe fn object_of(self, reference: *mut std::ffi::c_void) -> Result<Option<Object<'j>>> {
        if reference.is_null() {
            return Ok(None);
        }
        Object::own(self, sys::invoke!(self.env, place::NEW_LOCAL_REF, (reference => Raw) -> Raw)).map(Some)
    }

    /// Takes a pending exception away, which JNI by hand has left.
    ///
    /// # Errors
    /// With the exception, if there is one.
    pub fn check(self) -> Result<()> {
        error::check(self)
    }

    pub(crate) fn roots(self) -> &'j Roots {
        &self.jvm.0.roots
    }

    /// A class that is kept as long as the JVM's shared part: a reference of ours, for checks. The name is one of Java's own
    /// classes, of which there is one each.
    pub(crate) fn known_class(self, name: &str) -> Result<Raw> {
        let lock = || self.jvm.0.classes.lock().unwrap_or_else(PoisonError::into_inner);
        if let Some(Kept(known)) = lock().get(name) {
            return Ok(*known);
        }
        // Java may run code here; so nothing is locked.
        let found = self.find_class(name)?;
        let global = unsafe { sys::invoke!(self.env, place::NEW_GLOBAL_REF, (found.as_raw() => Raw) -> Raw) };
        if global.is_null() {
            return Err(error::take(self));
        }
        let mut classes = lock();
        if let Some(Kept(known)) = classes.get(name) {
            let known = *known;
            drop(classes);
            self.jvm.0.delete_global(global);
            return Ok(known);
        }
        classes.insert(name.to_owned(), Kept(global));
        Ok(global)
    }
}

impl std::fmt::Debug for Java<'_> {
    fn fmt(&self, to: &mut std::fmt::Formatter<'_>) -> std::fmt::Result {
        to.debug_struct("Java").finish_non_exhaustive()
    }
}
