//! Why something failed.

use crate::sys::{self, place, Env, Raw, Value};
use crate::{Global, Java, Result};
use std::fmt;

/// Why an operation failed: of Java's exception, see [`Error::exception`], or of this crate, of the service, of Windows.
/// It may be sent to another thread and shared.
pub struct Error(Box<Why>);

enum Why {
    Java(Exception),
    Invalid(String),
    Service { status: i32, text: String },
    Other(Box<dyn std::error::Error + Send + Sync>),
}

impl Error {
    /// An error of the program's own, to leave [`Jvm::with`](crate::Jvm::with) with. [`Error::into_other`] gives it back.
    pub fn other(error: impl Into<Box<dyn std::error::Error + Send + Sync>>) -> Error {
        Error(Box::new(Why::Other(error.into())))
    }

    /// What was given to [`Error::other`], or the same error again.
    ///
    /// # Errors
    /// With this error itself when it is none of the program's own.
    pub fn into_other(self) -> std::result::Result<Box<dyn std::error::Error + Send + Sync>, Error> {
        match *self.0 {
            Why::Other(error) => Ok(error),
            why => Err(Error(Box::new(why))),
        }
    }

    /// The Java exception, when there was one.
    #[must_use]
    pub fn exception(&self) -> Option<&Exception> {
        match &*self.0 {
            Why::Java(exception) => Some(exception),
            _ => None,
        }
    }

    /// Whether this crate refused the call before Java saw it: arguments that do not fit, a name that cannot be one.
    #[must_use]
    pub fn is_invalid(&self) -> bool {
        matches!(&*self.0, Why::Invalid(_))
    }

    /// The status of the service or of Windows, when one of them failed.
    #[must_use]
    pub fn status(&self) -> Option<i32> {
        match &*self.0 {
            Why::Service { status, .. } => Some(*status),
            _ => None,
        }
    }

    pub(crate) fn invalid(text: String) -> Error {
        Error(Box::new(Why::Invalid(text)))
    }

    pub(crate) fn service(status: i32, text: String) -> Error {
        Error(Box::new(Why::Service { status, text }))
    }
}

impl fmt::Display for Error {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        match &*self.0 {
            Why::Java(exception) => exception.fmt(to),
            Why::Invalid(text) | Why::Service { text, .. } => to.write_str(text),
            Why::Other(error) => error.fmt(to),
        }
    }
}

impl fmt::Debug for Error {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        match &*self.0 {
            Why::Java(exception) => to.debug_tuple("Java").field(exception).finish(),
            Why::Invalid(text) => to.debug_tuple("Invalid").field(text).finish(),
            Why::Service { status, text } => to.debug_tuple("Service").field(status).field(text).finish(),
            Why::Other(error) => to.debug_tuple("Other").field(error).finish(),
        }
    }
}

impl std::error::Error for Error {
    /// The cause of a Java exception, another `Error` with its own exception; or that of the program's own error.
    fn source(&self) -> Option<&(dyn std::error::Error + 'static)> {
        match &*self.0 {
            Why::Java(exception) => exception.cause.as_ref().map(|cause| cause as _),
            Why::Other(error) => error.source(),
            _ => None,
        }
    }
}

/// A Java exception: what it says was read when it was raised.
pub struct Exception {
    class_name: String,
    message: Option<String>,
    text: String,
    cause: Option<Error>,
    throwable: Option<Global>,
}

impl Exception {
    /// The name of its class, `java.io.IOException`.
    #[must_use]
    pub fn class_name(&self) -> &str {
        &self.class_name
    }

    /// What its `getMessage` says.
    #[must_use]
    pub fn message(&self) -> Option<&str> {
        self.message.as_deref()
    }

    /// The exception that caused it.
    #[must_use]
    pub fn cause(&self) -> Option<&Exception> {
        self.cause.as_ref().and_then(Error::exception)
    }

    /// The throwable itself. Nothing when Java had no memory for a global reference.
    #[must_use]
    pub fn throwable(&self) -> Option<&Global> {
        self.throwable.as_ref()
    }

    /// Its stack and those of its causes, as Java prints them. Asks Java, on the calling thread; the text of the exception
    /// alone when Java cannot answer.
    #[must_use]
    pub fn stack_text(&self) -> String {
        let print = |throwable: &Global| {
            throwable.jvm().with(|java| {
                let text = java.new_object("java/io/StringWriter", ())?;
                let writer = java.find_class("java/io/PrintWriter")?.new_object_as("(Ljava/io/Writer;)V", (&text,))?;
                let throwable = throwable.get(java)?;
                throwable.call_as::<()>("printStackTrace", "(Ljava/io/PrintWriter;)V", (&writer,))?;
                text.to_text()
            })
        };
        self.throwable.as_ref().and_then(|throwable| print(throwable).ok()).unwrap_or_else(|| self.text.clone())
    }
}

impl fmt::Display for Exception {
    /// What its `toString` says.
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        to.write_str(&self.text)
    }
}

impl fmt::Debug for Exception {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        to.debug_struct("Exception")
            .field("class_name", &self.class_name)
            .field("message", &self.message)
            .field("cause", &self.cause)
            .finish_non_exhaustive()
    }
}

/// So many causes of causes are read.
const DEEPEST_CAUSE: usize = 32;

/// `Ok` unless Java has raised an exception, which is taken away.
pub(crate) fn check(java: Java<'_>) -> Result<()> {
    if unsafe { sys::invoke!(java.env, place::EXCEPTION_CHECK, () -> u8) } == 0 {
        return Ok(());
    }
    Err(take(java))
}

/// The exception that Java has raised, which is taken away.
#[cold]
pub(crate) fn take(java: Java<'_>) -> Error {
    let env = java.env;
    unsafe {
        let raised = sys::invoke!(env, place::EXCEPTION_OCCURRED, () -> Raw);
        clear(env);
        if raised.is_null() {
            return Error::service(sys::E_FAIL, "Java gave no result".to_owned());
        }
        let error = read(java, raised, 0);
        sys::invoke!(env, place::DELETE_LOCAL_REF, (raised => Raw));
        error
    }
}

pub(crate) unsafe fn clear(env: Env) {
    sys::invoke!(env, place::EXCEPTION_CLEAR, ());
}

/// Reads a throwable, which stays the caller's. Java without memory or stack often cannot answer; so each answer may be
/// missing.
unsafe fn read(java: Java<'_>, throwable: Raw, depth: usize) -> Error {
    let (env, roots) = (java.env, java.roots());
    let class = sys::invoke!(env, place::GET_OBJECT_CLASS, (throwable => Raw) -> Raw);
    let class_name = ask_text(java, class, roots.get_name);
    sys::invoke!(env, place::DELETE_LOCAL_REF, (class => Raw));
    let class_name = class_name.unwrap_or_else(|| "java.lang.Throwable".to_owned());
    let message = ask_text(java, throwable, roots.get_message);
    let text = ask_text(java, throwable, roots.to_string).unwrap_or_else(|| match &message {
        Some(message) => format!("{}: {}", class_name, message),
        None => class_name.clone(),
    });
    let mut cause = None;
    if depth < DEEPEST_CAUSE {
        let raw = ask(java, throwable, roots.get_cause);
        if !raw.is_null() {
            cause = Some(read(java, raw, depth + 1));
            sys::invoke!(env, place::DELETE_LOCAL_REF, (raw => Raw));
        }
    }
    let throwable = Global::make(java, throwable).ok();
    Error(Box::new(Why::Java(Exception { class_name, message, text, cause, throwable })))
}

/// What a method without arguments gives; null when it raises an exception.
unsafe fn ask(java: Java<'_>, target: Raw, method: Raw) -> Raw {
    let none = Value::ZERO;
    let given = sys::invoke!(java.env, place::CALL_METHOD_A,
        (target => Raw, method => Raw, &none => *const Value) -> Raw);
    if sys::invoke!(java.env, place::EXCEPTION_CHECK, () -> u8) == 0 {
        return given;
    }
    clear(java.env);
    std::ptr::null_mut()
}

unsafe fn ask_text(java: Java<'_>, target: Raw, method: Raw) -> Option<String> {
    let string = ask(java, target, method);
    if string.is_null() {
        return None;
    }
    let text = String::from_utf16_lossy(&crate::reference::units_of(java.env, string));
    sys::invoke!(java.env, place::DELETE_LOCAL_REF, (string => Raw));
    Some(text)
}
