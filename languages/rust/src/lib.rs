//! Java in 64-bit Windows programs, through the Java VM Service, `qvjvm.dll`, which is loaded at run time.
//!
//! ```no_run
//! fn main() -> qvjvm::Result<()> {
//!     let jvm = qvjvm::Jvm::start()?;
//!     jvm.with(|java| {
//!         let list = java.new_object("java/util/ArrayList", ())?;
//!         list.call_as::<bool>("add", "(Ljava/lang/Object;)Z", ("Grüße",))?;
//!         println!("{} entry: {}", list.call::<i32>("size", ())?, list.to_text()?);
//!         Ok(())
//!     })
//! }
//! ```
//!
//! [`Jvm::with`] gives the calling thread's [`Java`], and references live within it: they are deleted when they are dropped
//! and neither leave it nor their thread. [`Global`] references and the handles [`Method`], [`StaticMethod`] and
//! [`Constructor`] last, and any thread may use them. Every failure is an [`Error`], a Java exception too; none stays pending.
//! Names and signatures are those of JNI. What is passed is compared with the signature, by Java where only Java knows, so a
//! mistake is an `Err` before anything is called.

#[cfg(not(all(windows, target_pointer_width = "64")))]
compile_error!("the Java VM Service is for 64-bit Windows: build for x86_64-pc-windows-gnu or x86_64-pc-windows-msvc");

mod array;
mod call;
mod convert;
mod error;
mod jvm;
mod reference;
mod signature;
mod start;
mod sys;

pub use array::{Array, ByteArray, Element, ObjectArray};
pub use call::{Constructor, Method, StaticMethod};
pub use convert::{Argument, Arguments, FromJava, Null, Nullable};
pub use error::{Error, Exception};
pub use jvm::{Java, Jvm};
pub use reference::{Class, Global, JString, Object, Reference};
pub use start::Options;

/// What every function that can fail gives.
pub type Result<T> = std::result::Result<T, Error>;
