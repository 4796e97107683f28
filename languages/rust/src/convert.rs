//! Values between Rust and Java.

use crate::signature::OBJECT;
use crate::sys::{Raw, Value};
use crate::{Array, Class, Element, Error, Global, JString, Java, Object, ObjectArray, Reference, Result};

/// What can be passed to Java: numbers, `bool`, `u16` for Java's `char`, text, references, and an `Option` of these two.
///
/// # Safety
/// For this crate's own types alone.
pub unsafe trait Argument {
    #[doc(hidden)]
    const SIGNATURE: &'static str;
    /// What `made` gets lives until the call is done.
    #[doc(hidden)]
    fn pass<'j>(&self, java: Java<'j>, made: &mut Vec<Object<'j>>) -> Result<Value>;
}

/// The arguments that may be null.
///
/// # Safety
/// For this crate's own types alone.
pub unsafe trait Nullable: Argument {}

/// Null, for parameters of any class.
#[derive(Clone, Copy, Debug)]
pub struct Null;

unsafe impl Argument for Null {
    const SIGNATURE: &'static str = OBJECT;
    fn pass<'j>(&self, _: Java<'j>, _: &mut Vec<Object<'j>>) -> Result<Value> {
        Ok(Value { l: std::ptr::null_mut() })
    }
}

/// What a call or a field can give: numbers, `bool`, `u16` for Java's `char`, `()` for nothing, `String`, references, a
/// [`Global`], and an `Option` where Java may give null.
///
/// # Safety
/// For this crate's own types alone.
pub unsafe trait FromJava<'j>: Sized {
    #[doc(hidden)]
    const SIGNATURE: &'static str;
    #[doc(hidden)]
    fn receive(received: Received<'j>) -> Result<Self>;
}

/// What Java has given.
pub enum Received<'j> {
    Boolean(bool),
    Byte(i8),
    Char(u16),
    Short(i16),
    Int(i32),
    Long(i64),
    Float(f32),
    Double(f64),
    Void,
    Reference(Option<Object<'j>>),
}

fn other_kind<T>() -> Result<T> {
    Err(Error::invalid("Java's value is of another kind than the result".to_owned()))
}

macro_rules! primitives {
    ($($type:ty => $signature:literal $member:ident $variant:ident),*) => { $(
        unsafe impl Argument for $type {
            const SIGNATURE: &'static str = $signature;
            fn pass<'j>(&self, _: Java<'j>, _: &mut Vec<Object<'j>>) -> Result<Value> {
                let mut value = Value::ZERO;
                value.$member = (*self).into();
                Ok(value)
            }
        }

        unsafe impl<'j> FromJava<'j> for $type {
            const SIGNATURE: &'static str = $signature;
            fn receive(received: Received<'j>) -> Result<Self> {
                match received {
                    Received::$variant(value) => Ok(value),
                    _ => other_kind(),
                }
            }
        }
    )* };
}
primitives!(
    bool => "Z" z Boolean, i8 => "B" b Byte, u16 => "C" c Char, i16 => "S" s Short,
    i32 => "I" i Int, i64 => "J" j Long, f32 => "F" f Float, f64 => "D" d Double
);

unsafe impl<'j> FromJava<'j> for () {
    const SIGNATURE: &'static str = "V";
    fn receive(_: Received<'j>) -> Result<()> {
        Ok(())
    }
}

unsafe impl Argument for &str {
    const SIGNATURE: &'static str = <JString<'static> as Reference<'static>>::SIGNATURE;
    fn pass<'j>(&self, java: Java<'j>, made: &mut Vec<Object<'j>>) -> Result<Value> {
        let text = java.new_string(self)?.into_object();
        let l = text.as_raw();
        made.push(text);
        Ok(Value { l })
    }
}
unsafe impl Nullable for &str {}

unsafe impl Argument for String {
    const SIGNATURE: &'static str = <&str as Argument>::SIGNATURE;
    fn pass<'j>(&self, java: Java<'j>, made: &mut Vec<Object<'j>>) -> Result<Value> {
        self.as_str().pass(java, made)
    }
}
unsafe impl Nullable for String {}

macro_rules! references {
    ($($type:ty => $signature:expr $(; $parameter:ident)?),*) => { $(
        unsafe impl$(<$parameter: Element>)? Argument for $type {
            const SIGNATURE: &'static str = $signature;
            fn pass<'j>(&self, _: Java<'j>, _: &mut Vec<Object<'j>>) -> Result<Value> {
                let l: Raw = self.as_raw();
                Ok(Value { l })
            }
        }
        unsafe impl$(<$parameter: Element>)? Nullable for $type {}
    )* };
}
references!(
    Object<'_> => OBJECT,
    Global => OBJECT,
    JString<'_> => <JString<'static> as Reference<'static>>::SIGNATURE,
    Class<'_> => <Class<'static> as Reference<'static>>::SIGNATURE,
    ObjectArray<'_> => <ObjectArray<'static> as Reference<'static>>::SIGNATURE,
    Array<'_, T> => T::ARRAY; T
);

unsafe impl<T: Argument> Argument for &T {
    const SIGNATURE: &'static str = T::SIGNATURE;
    fn pass<'j>(&self, java: Java<'j>, made: &mut Vec<Object<'j>>) -> Result<Value> {
        (**self).pass(java, made)
    }
}
unsafe impl<T: Nullable> Nullable for &T {}

unsafe impl<T: Nullable> Argument for Option<T> {
    const SIGNATURE: &'static str = T::SIGNATURE;
    fn pass<'j>(&self, java: Java<'j>, made: &mut Vec<Object<'j>>) -> Result<Value> {
        match self {
            Some(value) => value.pass(java, made),
            None => Null.pass(java, made),
        }
    }
}

fn not_null<T>(value: Option<T>) -> Result<T> {
    value.ok_or_else(|| Error::invalid("Java gave null; where it may, the result is an Option".to_owned()))
}

unsafe impl<'j, T: Reference<'j>> FromJava<'j> for T {
    const SIGNATURE: &'static str = <T as Reference<'j>>::SIGNATURE;
    fn receive(received: Received<'j>) -> Result<T> {
        not_null(Option::receive(received)?)
    }
}

unsafe impl<'j, T: Reference<'j>> FromJava<'j> for Option<T> {
    const SIGNATURE: &'static str = <T as Reference<'j>>::SIGNATURE;
    fn receive(received: Received<'j>) -> Result<Option<T>> {
        match received {
            Received::Reference(object) => object.map(T::of).transpose(),
            _ => other_kind(),
        }
    }
}

/// The owned ones, made of a reference.
macro_rules! made_of {
    ($($type:ty => $reference:ident by $make:ident),*) => { $(
        unsafe impl<'j> FromJava<'j> for $type {
            const SIGNATURE: &'static str = <$reference<'j> as Reference<'j>>::SIGNATURE;
            fn receive(received: Received<'j>) -> Result<$type> {
                not_null(Option::receive(received)?)
            }
        }

        unsafe impl<'j> FromJava<'j> for Option<$type> {
            const SIGNATURE: &'static str = <$reference<'j> as Reference<'j>>::SIGNATURE;
            fn receive(received: Received<'j>) -> Result<Option<$type>> {
                Option::<$reference<'j>>::receive(received)?.map(|made| made.$make()).transpose()
            }
        }
    )* };
}
made_of!(String => JString by text, Global => Object by to_global);

/// The most arguments that a call can have.
const MOST: usize = 12;

/// Arguments as JNI takes them, and what was made for them.
pub struct Passed<'j> {
    pub(crate) values: [Value; MOST],
    made: Vec<Object<'j>>,
}

impl Passed<'_> {
    pub(crate) fn new() -> Self {
        Passed { values: [Value::ZERO; MOST], made: Vec::new() }
    }
}

/// The arguments of a call: a tuple, `()` to `(a, b, ...)` of twelve. One argument is `(a,)`.
///
/// # Safety
/// For this crate's own types alone.
pub unsafe trait Arguments {
    #[doc(hidden)]
    const TYPES: &'static [&'static str];
    #[doc(hidden)]
    fn pass<'j>(&self, java: Java<'j>, to: &mut Passed<'j>) -> Result<()>;
}

macro_rules! tuples {
    ($($type:ident $at:tt)*) => {
        unsafe impl<$($type: Argument),*> Arguments for ($($type,)*) {
            const TYPES: &'static [&'static str] = &[$($type::SIGNATURE),*];
            #[allow(unused_variables)]
            fn pass<'j>(&self, java: Java<'j>, to: &mut Passed<'j>) -> Result<()> {
                $(to.values[$at] = self.$at.pass(java, &mut to.made)?;)*
                Ok(())
            }
        }
    };
}
tuples!();
tuples!(A 0);
tuples!(A 0 B 1);
tuples!(A 0 B 1 C 2);
tuples!(A 0 B 1 C 2 D 3);
tuples!(A 0 B 1 C 2 D 3 E 4);
tuples!(A 0 B 1 C 2 D 3 E 4 F 5);
tuples!(A 0 B 1 C 2 D 3 E 4 F 5 G 6);
tuples!(A 0 B 1 C 2 D 3 E 4 F 5 G 6 H 7);
tuples!(A 0 B 1 C 2 D 3 E 4 F 5 G 6 H 7 I 8);
tuples!(A 0 B 1 C 2 D 3 E 4 F 5 G 6 H 7 I 8 J 9);
tuples!(A 0 B 1 C 2 D 3 E 4 F 5 G 6 H 7 I 8 J 9 K 10);
tuples!(A 0 B 1 C 2 D 3 E 4 F 5 G 6 H 7 I 8 J 9 K 10 L 11);
