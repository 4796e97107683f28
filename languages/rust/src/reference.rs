//! References to Java's objects. None of them is null: where Java may give null, ask for an `Option`.

use crate::sys::{self, place, Env, Raw, Value};
use crate::{error, Error, Java, Jvm, Result};
use std::ops::Deref;

/// A reference to a Java object that belongs to the calling thread: JNI's local reference, deleted when it is dropped.
pub struct Object<'j> {
    raw: Raw,
    java: Java<'j>,
}

impl Drop for Object<'_> {
    fn drop(&mut self) {
        unsafe { sys::invoke!(self.java.env, place::DELETE_LOCAL_REF, (self.raw => Raw)) };
    }
}

impl<'j> Object<'j> {
    /// Takes over a local reference of the thread. Null, for which Java has a reason, is an error.
    ///
    /// # Safety
    /// It is such a reference and nobody else's, or null.
    pub(crate) unsafe fn own(java: Java<'j>, raw: Raw) -> Result<Object<'j>> {
        if raw.is_null() {
            return Err(error::take(java));
        }
        Ok(Object { raw, java })
    }

    /// Java on this thread.
    #[must_use]
    pub fn java(&self) -> Java<'j> {
        self.java
    }

    /// JNI's reference, which stays this object's.
    #[must_use]
    pub fn as_raw(&self) -> *mut std::ffi::c_void {
        self.raw
    }

    /// JNI's reference, a local one of this thread, which is the caller's now: the result of a native method.
    #[must_use]
    pub fn into_raw(self) -> *mut std::ffi::c_void {
        std::mem::ManuallyDrop::new(self).raw
    }

    /// The object's class.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn class(&self) -> Result<Class<'j>> {
        let class = unsafe { sys::invoke!(self.java.env, place::GET_OBJECT_CLASS, (self.raw => Raw) -> Raw) };
        Ok(Class(unsafe { Object::own(self.java, class) }?))
    }

    /// Whether the object is of that class, or of one below it.
    #[must_use]
    pub fn is_instance_of(&self, class: &Class<'_>) -> bool {
        self.is_a(class.raw)
    }

    pub(crate) fn is_a(&self, class: Raw) -> bool {
        unsafe { sys::invoke!(self.java.env, place::IS_INSTANCE_OF, (self.raw => Raw, class => Raw) -> u8) != 0 }
    }

    /// Whether both are the same object.
    #[must_use]
    pub fn is_same(&self, other: &Object<'_>) -> bool {
        unsafe { sys::invoke!(self.java.env, place::IS_SAME_OBJECT, (self.raw => Raw, other.raw => Raw) -> u8) != 0 }
    }

    /// The same object as a string, an array, a class.
    ///
    /// # Errors
    /// When it is none.
    pub fn cast<T: Reference<'j>>(self) -> Result<T> {
        T::of(self)
    }

    /// Another reference to the same object.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn try_clone(&self) -> Result<Object<'j>> {
        unsafe { Object::own(self.java, sys::invoke!(self.java.env, place::NEW_LOCAL_REF, (self.raw => Raw) -> Raw)) }
    }

    /// A reference to the same object that lasts and may go to other threads.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn to_global(&self) -> Result<Global> {
        Global::make(self.java, self.raw)
    }

    /// What the object's `toString` gives, with U+FFFD for halves of pairs; `null` for null.
    ///
    /// # Errors
    /// The exceptions of `toString`.
    pub fn to_text(&self) -> Result<String> {
        let text: Option<JString<'_>> = self.call_as("toString", "()Ljava/lang/String;", ())?;
        Ok(text.map_or_else(|| "null".to_owned(), |text| text.text_lossy()))
    }
}

impl std::fmt::Debug for Object<'_> {
    fn fmt(&self, to: &mut std::fmt::Formatter<'_>) -> std::fmt::Result {
        write!(to, "Object({:p})", self.raw)
    }
}

/// What an [`Object`] can be [cast](Object::cast) to.
///
/// # Safety
/// For this crate's own types alone.
pub unsafe trait Reference<'j>: Sized {
    #[doc(hidden)]
    const SIGNATURE: &'static str;
    #[doc(hidden)]
    fn of(object: Object<'j>) -> Result<Self>;
}

unsafe impl<'j> Reference<'j> for Object<'j> {
    const SIGNATURE: &'static str = crate::signature::OBJECT;
    fn of(object: Object<'j>) -> Result<Self> {
        Ok(object)
    }
}

/// The object, once Java has said that it is of that class.
pub(crate) fn checked<'j>(object: Object<'j>, class: &str) -> Result<Object<'j>> {
    if object.is_a(object.java.known_class(class)?) {
        return Ok(object);
    }
    let own = object.class()?.name().unwrap_or_default();
    Err(Error::invalid(format!("the object is a {}, and no {}", own, class.replace('/', "."))))
}

/// A type that is an object with more functions.
macro_rules! object_type {
    ($type:ident) => {
        impl<'j> $type<'j> {
            pub(crate) fn of_object(object: Object<'j>) -> $type<'j> {
                $type(object)
            }

            /// The plain object.
            #[must_use]
            pub fn into_object(self) -> Object<'j> {
                self.0
            }
        }

        impl<'j> Deref for $type<'j> {
            type Target = Object<'j>;
            fn deref(&self) -> &Object<'j> {
                &self.0
            }
        }
    };
}
pub(crate) use object_type;

/// A reference to a Java string.
#[derive(Debug)]
pub struct JString<'j>(Object<'j>);
object_type!(JString);

unsafe impl<'j> Reference<'j> for JString<'j> {
    const SIGNATURE: &'static str = "Ljava/lang/String;";
    fn of(object: Object<'j>) -> Result<Self> {
        checked(object, "java/lang/String").map(JString)
    }
}

impl JString<'_> {
    /// In UTF-16 units.
    #[must_use]
    pub fn length(&self) -> usize {
        let length = unsafe { sys::invoke!(self.java().env, place::GET_STRING_LENGTH, (self.as_raw() => Raw) -> i32) };
        usize::try_from(length).unwrap_or(0)
    }

    /// The UTF-16 units.
    #[must_use]
    pub fn to_utf16(&self) -> Vec<u16> {
        unsafe { units_of(self.java().env, self.as_raw()) }
    }

    /// The text.
    ///
    /// # Errors
    /// When there is half of a pair in it, which Rust's text cannot have.
    pub fn text(&self) -> Result<String> {
        String::from_utf16(&self.to_utf16())
            .map_err(|_| Error::invalid("the Java string has half of a surrogate pair, which is no Unicode".to_owned()))
    }

    /// The text, with U+FFFD for halves of pairs.
    #[must_use]
    pub fn text_lossy(&self) -> String {
        String::from_utf16_lossy(&self.to_utf16())
    }
}

/// # Safety
/// The string is a reference to one, good on the environment's thread.
pub(crate) unsafe fn units_of(env: Env, string: Raw) -> Vec<u16> {
    let length = sys::invoke!(env, place::GET_STRING_LENGTH, (string => Raw) -> i32);
    let mut units = vec![0; usize::try_from(length).unwrap_or(0)];
    sys::invoke!(env, place::GET_STRING_REGION,
        (string => Raw, 0 => i32, length => i32, units.as_mut_ptr() => *mut u16));
    units
}

/// A reference to a Java class; a primitive type's class can only be an [`Object`].
#[derive(Debug)]
pub struct Class<'j>(Object<'j>);
object_type!(Class);

unsafe impl<'j> Reference<'j> for Class<'j> {
    const SIGNATURE: &'static str = "Ljava/lang/Class;";
    fn of(object: Object<'j>) -> Result<Self> {
        let (java, none) = (object.java, Value::ZERO);
        let object = checked(object, "java/lang/Class")?;
        let primitive = unsafe {
            sys::invoke!(java.env, place::CALL_METHOD_A + 3,
                (object.raw => Raw, java.roots().is_primitive => Raw, &none => *const Value) -> u8)
        };
        error::check(java)?;
        // JNI's functions for classes do not expect one.
        if primitive != 0 {
            return Err(Error::invalid("the class is that of a primitive type, and has no members".to_owned()));
        }
        Ok(Class(object))
    }
}

impl Class<'_> {
    /// The class's name as Java has it, `java.lang.String`.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn name(&self) -> Result<String> {
        self.call("getName", ())
    }
}

/// A reference to a Java object that lasts until it is dropped, and may be used and dropped on any thread. To call the
/// object get a reference of the thread's own.
pub struct Global {
    raw: Raw,
    jvm: Jvm,
}

// JNI's global references are good on every thread.
unsafe impl Send for Global {}
unsafe impl Sync for Global {}

impl Drop for Global {
    fn drop(&mut self) {
        self.jvm.0.delete_global(self.raw);
    }
}

impl Global {
    pub(crate) fn make(java: Java<'_>, raw: Raw) -> Result<Global> {
        let global = unsafe { sys::invoke!(java.env, place::NEW_GLOBAL_REF, (raw => Raw) -> Raw) };
        if global.is_null() {
            return Err(error::take(java));
        }
        Ok(Global { raw: global, jvm: java.jvm().clone() })
    }

    /// The Java VM.
    #[must_use]
    pub fn jvm(&self) -> &Jvm {
        &self.jvm
    }

    /// JNI's reference, which stays this object's.
    #[must_use]
    pub fn as_raw(&self) -> *mut std::ffi::c_void {
        self.raw
    }

    /// A reference of the calling thread's own.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn get<'j>(&self, java: Java<'j>) -> Result<Object<'j>> {
        unsafe { Object::own(java, sys::invoke!(java.env, place::NEW_LOCAL_REF, (self.raw => Raw) -> Raw)) }
    }

    /// The same as a string, an array, a class.
    ///
    /// # Errors
    /// When it is none.
    pub fn get_as<'j, T: Reference<'j>>(&self, java: Java<'j>) -> Result<T> {
        self.get(java)?.cast()
    }

    /// Another lasting reference to the same object. The thread joins the JVM for it.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn try_clone(&self) -> Result<Global> {
        self.jvm.with(|java| Global::make(java, self.raw))
    }
}

impl std::fmt::Debug for Global {
    fn fmt(&self, to: &mut std::fmt::Formatter<'_>) -> std::fmt::Result {
        write!(to, "Global({:p})", self.raw)
    }
}
