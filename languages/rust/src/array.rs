//! Java's arrays.

use crate::reference::{checked, object_type};
use crate::signature::Kind;
use crate::sys::{self, place, Raw};
use crate::{error, Class, Error, Java, Object, Reference, Result};
use std::ffi::c_void;
use std::marker::PhantomData;
use std::ops::Deref;

/// A number of elements as Java counts them.
pub(crate) fn java_length(length: usize) -> Result<i32> {
    i32::try_from(length).map_err(|_| Error::invalid(format!("{} elements are more than Java can count", length)))
}

fn length_of(array: &Object<'_>) -> usize {
    let length = unsafe { sys::invoke!(array.java().env, place::GET_ARRAY_LENGTH, (array.as_raw() => Raw) -> i32) };
    usize::try_from(length).unwrap_or(0)
}

/// The element of an array of a primitive type.
///
/// # Safety
/// For this crate's own types alone: the type has the size of Java's, and `settle` makes every value that Java can store one
/// of the type's.
pub unsafe trait Element: Copy + Default + 'static {
    #[doc(hidden)]
    const ARRAY: &'static str;
    #[doc(hidden)]
    unsafe fn settle(_first: *mut Self, _count: usize) {}
}

macro_rules! elements {
    ($($type:ty => $array:literal),*) => {
        $(unsafe impl Element for $type {
            const ARRAY: &'static str = $array;
        })*
    };
}
// Java's bytes have a sign, and files have none: both are at hand.
elements!(u8 => "[B", i8 => "[B", u16 => "[C", i16 => "[S", i32 => "[I", i64 => "[J", f32 => "[F", f64 => "[D");

unsafe impl Element for bool {
    const ARRAY: &'static str = "[Z";
    unsafe fn settle(first: *mut bool, count: usize) {
        for byte in (0..count).map(|i| first.cast::<u8>().add(i)) {
            byte.write(u8::from(byte.read() != 0));
        }
    }
}

/// A reference to a Java array of a primitive type: `u16` is Java's `char`, `u8` and `i8` both its `byte`.
pub struct Array<'j, T> {
    object: Object<'j>,
    elements: PhantomData<T>,
}

/// A `byte[]`.
pub type ByteArray<'j> = Array<'j, u8>;

impl<'j, T: Element> Array<'j, T> {
    const STEP: usize = Kind::of(T::ARRAY, 1) as usize;

    /// A new array of so many zeros.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn new(java: Java<'j>, length: usize) -> Result<Array<'j, T>> {
        let length = java_length(length)?;
        let made = unsafe { sys::invoke!(java.env, place::NEW_ARRAY + Self::STEP, (length => i32) -> Raw) };
        Ok(Array { object: unsafe { Object::own(java, made) }?, elements: PhantomData })
    }

    /// A new array with these elements.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn of(java: Java<'j>, elements: &[T]) -> Result<Array<'j, T>> {
        let made = Array::new(java, elements.len())?;
        made.write(0, elements)?;
        Ok(made)
    }

    /// The number of elements.
    #[must_use]
    pub fn length(&self) -> usize {
        length_of(&self.object)
    }

    /// Copies the elements from `first` on.
    ///
    /// # Errors
    /// When the array has not that many; nothing is copied then.
    pub fn read(&self, first: usize, into: &mut [T]) -> Result<()> {
        let (first, count) = (java_length(first)?, java_length(into.len())?);
        unsafe {
            sys::invoke!(self.object.java().env, place::GET_ARRAY_REGION + Self::STEP,
                (self.object.as_raw() => Raw, first => i32, count => i32, into.as_mut_ptr().cast() => *mut c_void));
            T::settle(into.as_mut_ptr(), into.len());
        }
        error::check(self.object.java())
    }

    /// Writes the elements from `first` on.
    ///
    /// # Errors
    /// When the array has not that many; nothing is written then.
    pub fn write(&self, first: usize, from: &[T]) -> Result<()> {
        let (first, count) = (java_length(first)?, java_length(from.len())?);
        unsafe {
            sys::invoke!(self.object.java().env, place::SET_ARRAY_REGION + Self::STEP,
                (self.object.as_raw() => Raw, first => i32, count => i32, from.as_ptr().cast() => *const c_void));
        }
        error::check(self.object.java())
    }

    /// All elements.
    ///
    /// # Errors
    /// Of Java.
    pub fn to_vec(&self) -> Result<Vec<T>> {
        let mut all = vec![T::default(); self.length()];
        self.read(0, &mut all)?;
        Ok(all)
    }

    /// The plain object.
    #[must_use]
    pub fn into_object(self) -> Object<'j> {
        self.object
    }
}

impl<'j, T> Deref for Array<'j, T> {
    type Target = Object<'j>;
    fn deref(&self) -> &Object<'j> {
        &self.object
    }
}

unsafe impl<'j, T: Element> Reference<'j> for Array<'j, T> {
    const SIGNATURE: &'static str = T::ARRAY;
    fn of(object: Object<'j>) -> Result<Self> {
        Ok(Array { object: checked(object, T::ARRAY)?, elements: PhantomData })
    }
}

impl<T> std::fmt::Debug for Array<'_, T> {
    fn fmt(&self, to: &mut std::fmt::Formatter<'_>) -> std::fmt::Result {
        write!(to, "Array({:p})", self.object.as_raw())
    }
}

/// A reference to a Java array of objects.
#[derive(Debug)]
pub struct ObjectArray<'j>(Object<'j>);
object_type!(ObjectArray);

impl<'j> ObjectArray<'j> {
    /// A new array for objects of that class, all null.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn new(class: &Class<'j>, length: usize) -> Result<ObjectArray<'j>> {
        let (java, length) = (class.java(), java_length(length)?);
        let none: Raw = std::ptr::null_mut();
        let made = unsafe {
            sys::invoke!(java.env, place::NEW_OBJECT_ARRAY, (length => i32, class.as_raw() => Raw, none => Raw) -> Raw)
        };
        Ok(ObjectArray::of_object(unsafe { Object::own(java, made) }?))
    }

    /// A new `String[]` with these texts.
    ///
    /// # Errors
    /// When Java has no memory.
    pub fn of_texts<T: AsRef<str>>(java: Java<'j>, texts: &[T]) -> Result<ObjectArray<'j>> {
        let made = ObjectArray::new(&java.find_class("java/lang/String")?, texts.len())?;
        for (i, text) in texts.iter().enumerate() {
            made.set(i, Some(&*java.new_string(text.as_ref())?))?;
        }
        Ok(made)
    }

    /// The number of elements.
    #[must_use]
    pub fn length(&self) -> usize {
        length_of(&self.0)
    }

    /// One element; nothing for null.
    ///
    /// # Errors
    /// For an index that is not there.
    pub fn get(&self, index: usize) -> Result<Option<Object<'j>>> {
        let (java, index) = (self.0.java(), java_length(index)?);
        let element =
            unsafe { sys::invoke!(java.env, place::GET_OBJECT_ARRAY_ELEMENT, (self.0.as_raw() => Raw, index => i32) -> Raw) };
        error::check(java)?;
        if element.is_null() {
            return Ok(None);
        }
        unsafe { Object::own(java, element) }.map(Some)
    }

    /// Stores one element; nothing for null.
    ///
    /// # Errors
    /// For an index that is not there, and for an object that the array does not take.
    pub fn set(&self, index: usize, value: Option<&Object<'_>>) -> Result<()> {
        let (java, index) = (self.0.java(), java_length(index)?);
        let value = value.map_or(std::ptr::null_mut(), Object::as_raw);
        unsafe {
            sys::invoke!(java.env, place::SET_OBJECT_ARRAY_ELEMENT,
                (self.0.as_raw() => Raw, index => i32, value => Raw));
        }
        error::check(java)
    }
}

unsafe impl<'j> Reference<'j> for ObjectArray<'j> {
    const SIGNATURE: &'static str = "[Ljava/lang/Object;";
    fn of(object: Object<'j>) -> Result<Self> {
        checked(object, "[Ljava/lang/Object;").map(ObjectArray)
    }
}
