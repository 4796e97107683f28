//! The crate [`jni`] in programs that start Java with the crate [`qvjvm`].

use jni::errors::{Error as JniError, Result as JniResult};
use jni::{JNIEnv, JavaVM};
use qvjvm::{Error, Java, Result};

/// What the crate `jni` works with, for a thread's part of Java.
pub trait Bridge<'j> {
    /// Runs a function with the environment of the crate `jni`. References go between the two as raw ones:
    /// [`Java::object_of`](qvjvm::Java::object_of), [`Object::as_raw`](qvjvm::Object::as_raw). A Java exception that the
    /// function leaves pending becomes the error, with its class, text and causes.
    ///
    /// # Errors
    /// Those of the function.
    ///
    /// # Safety
    /// No reference of `qvjvm` outlives a frame of local references of `jni` (`with_local_frame`) within which it was made,
    /// and none is deleted by `jni`.
    unsafe fn with_jni<R>(self, function: impl FnOnce(&mut JNIEnv<'j>) -> JniResult<R>) -> Result<R>;

    /// The Java VM of the crate `jni`. A thread that it attaches is detached by it; one that `qvjvm` has used, it leaves
    /// alone.
    ///
    /// # Errors
    /// When Java does not tell.
    fn java_vm(self) -> Result<JavaVM>;
}

impl<'j> Bridge<'j> for Java<'j> {
    unsafe fn with_jni<R>(self, function: impl FnOnce(&mut JNIEnv<'j>) -> JniResult<R>) -> Result<R> {
        let mut env = JNIEnv::from_raw(self.env().cast()).map_err(Error::other)?;
        let done = function(&mut env);
        let raised = self.check();
        match done {
            Err(JniError::JavaException) => raised.and(Err(Error::other(JniError::JavaException))),
            done => raised.and(done.map_err(Error::other)),
        }
    }

    fn java_vm(self) -> Result<JavaVM> {
        // No reference is made.
        unsafe { self.with_jni(|env| env.get_java_vm()) }
    }
}
