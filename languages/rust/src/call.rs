//! Calls of methods and constructors, fields, and handles of members that were looked up once.

use crate::convert::{Passed, Received};
use crate::signature::{check_type, class_name_of, is_of_java, java_name, Kind, Signature, OBJECT};
use crate::sys::{self, place, Env, Raw, Value};
use crate::{error, Argument, Arguments, Class, Error, FromJava, Global, Java, Object, ObjectArray, Result};

/// A member of a class. The reference to the class is good as long as this is used.
#[derive(Clone, Copy)]
struct Member {
    class: Raw,
    id: Raw,
    is_static: bool,
    is_field: bool,
}

impl Member {
    fn look_up(java: Java<'_>, at: usize, class: Raw, name: &str, signature: &str) -> Result<Member> {
        let id = {
            let (name, signature) = (java_name(name)?, java_name(signature)?);
            unsafe {
                sys::invoke!(java.env, at,
                    (class => Raw, name.as_ptr() => *const i8, signature.as_ptr() => *const i8) -> Raw)
            }
        };
        if id.is_null() {
            return Err(error::take(java));
        }
        let is_static = at == place::GET_STATIC_METHOD_ID || at == place::GET_STATIC_FIELD_ID;
        let is_field = at == place::GET_FIELD_ID || at == place::GET_STATIC_FIELD_ID;
        Ok(Member { class, id, is_static, is_field })
    }

    /// A method; constructors have a function of their own.
    fn method(java: Java<'_>, at: usize, class: Raw, name: &str, signature: &str) -> Result<Member> {
        if name.starts_with('<') {
            return Err(Error::invalid(format!("{} is no method that can be called", name)));
        }
        Member::look_up(java, at, class, name, signature)
    }

    /// The classes of the parameters as Java has resolved them, or that of a field: the name alone does not tell them, with
    /// several class loaders.
    fn declared_classes<'j>(self, java: Java<'j>) -> Result<Vec<Option<Object<'j>>>> {
        let at = if self.is_field { place::TO_REFLECTED_FIELD } else { place::TO_REFLECTED_METHOD };
        let reflected = unsafe {
            Object::own(
                java,
                sys::invoke!(java.env, at,
                (self.class => Raw, self.id => Raw, u8::from(self.is_static) => u8) -> Raw),
            )?
        };
        if self.is_field {
            return Ok(vec![reflected.call_as("getType", "()Ljava/lang/Class;", ())?]);
        }
        let classes: ObjectArray<'_> = reflected.call_as("getParameterTypes", "()[Ljava/lang/Class;", ())?;
        (0..classes.length()).map(|i| classes.get(i)).collect()
    }
}

/// Whether a reference for a declared type has to be asked for its class.
fn is_doubtful(declared: &str, given: &str, value: Value) -> bool {
    Kind::of(declared, 0) == Kind::Reference && declared != OBJECT && declared != given && unsafe { !value.l.is_null() }
}

/// Fails unless each reference is of the class that its declared type has. `known` are the classes that a handle has kept.
fn check_classes(
    java: Java<'_>,
    member: Member,
    declared: &[&str],
    given: &[&str],
    values: &[Value],
    known: &[Option<Global>],
) -> Result<()> {
    let mut classes = Vec::new();
    for (i, (&declared, &given)) in declared.iter().zip(given).enumerate() {
        if !is_doubtful(declared, given, values[i]) {
            continue;
        }
        let class = if is_of_java(declared) {
            java.known_class(class_name_of(declared))?
        } else if let Some(Some(class)) = known.get(i) {
            class.as_raw()
        } else {
            if classes.is_empty() {
                classes = member.declared_classes(java)?;
            }
            match classes.get(i) {
                Some(Some(class)) => class.as_raw(),
                _ => return Err(Error::invalid("Java does not tell the parameters of the method".to_owned())),
            }
        };
        let is_one = unsafe { sys::invoke!(java.env, place::IS_INSTANCE_OF, (values[i].l => Raw, class => Raw) -> u8) };
        if is_one == 0 {
            return Err(Error::invalid(format!("argument {} is no {}", i + 1, class_name_of(declared).replace('/', "."))));
        }
    }
    Ok(())
}

/// Fails unless arguments of these types can be passed, and the result can be had as a `result`.
fn check_kinds(signature: &Signature<'_>, given: &[&str], result: &str) -> Result<()> {
    if signature.parameters.len() != given.len() {
        let text = format!("the method has {} parameters, and not {}", signature.parameters.len(), given.len());
        return Err(Error::invalid(text));
    }
    for (i, (declared, given)) in signature.parameters.iter().zip(given).enumerate() {
        if Kind::of(declared, 0) != Kind::of(given, 0) {
            let text = format!("argument {} is of the type {}, and the parameter of {}", i + 1, given, declared);
            return Err(Error::invalid(text));
        }
    }
    // A result that nobody wants may be anything.
    if result != "V" && Kind::of(result, 0) != Kind::of(signature.result, 0) {
        return Err(Error::invalid(format!("the method gives {}, and not {}", signature.result, result)));
    }
    Ok(())
}

/// Calls the function of a family for a kind of result.
///
/// # Safety
/// The id is that of a method of the target, with such a result and with parameters as the values.
unsafe fn call_raw(env: Env, family: usize, kind: Kind, target: Raw, id: Raw, values: *const Value) -> Value {
    let at = family + 3 * kind as usize;
    macro_rules! call {
        ($type:ty, $member:ident) => {{
            let mut value = Value::ZERO;
            value.$member =
                sys::invoke!(env, at, (target => Raw, id => Raw, values => *const Value) -> $type);
            value
        }};
    }
    match kind {
        Kind::Reference => call!(Raw, l),
        Kind::Boolean => call!(u8, z),
        Kind::Byte => call!(i8, b),
        Kind::Char => call!(u16, c),
        Kind::Short => call!(i16, s),
        Kind::Int => call!(i32, i),
        Kind::Long => call!(i64, j),
        Kind::Float => call!(f32, f),
        Kind::Double => call!(f64, d),
        Kind::Void => {
            sys::invoke!(env, at, (target => Raw, id => Raw, values => *const Value));
            Value::ZERO
        }
    }
}

/// # Safety
/// The value is of that kind, and a reference in it the caller's.
unsafe fn received(java: Java<'_>, kind: Kind, value: Value) -> Result<Received<'_>> {
    Ok(match kind {
        Kind::Boolean => Received::Boolean(value.z != 0),
        Kind::Byte => Received::Byte(value.b),
        Kind::Char => Received::Char(value.c),
        Kind::Short => Received::Short(value.s),
        Kind::Int => Received::Int(value.i),
        Kind::Long => Received::Long(value.j),
        Kind::Float => Received::Float(value.f),
        Kind::Double => Received::Double(value.d),
        Kind::Void => Received::Void,
        Kind::Reference if value.l.is_null() => Received::Reference(None),
        Kind::Reference => Received::Reference(Some(Object::own(java, value.l)?)),
    })
}

/// Passes the arguments, calls, takes what was raised.
///
/// # Safety
/// The member is a method of the target, an object or its class, with that signature, or a constructor.
unsafe fn perform<'j, A: Arguments>(
    java: Java<'j>,
    family: usize,
    target: Raw,
    member: Member,
    signature: &Signature<'_>,
    arguments: &A,
    known: &[Option<Global>],
) -> Result<Received<'j>> {
    let mut passed = Passed::new();
    arguments.pass(java, &mut passed)?;
    check_classes(java, member, &signature.parameters, A::TYPES, &passed.values, known)?;
    let values = passed.values.as_ptr();
    if family == place::NEW_OBJECT_A {
        let made = sys::invoke!(java.env, family, (target => Raw, member.id => Raw, values => *const Value) -> Raw);
        return Ok(Received::Reference(Some(Object::own(java, made)?)));
    }
    let kind = Kind::of(signature.result, 0);
    let value = call_raw(java.env, family, kind, target, member.id, values);
    error::check(java)?;
    received(java, kind, value)
}

/// The signature that the types of arguments and result have.
fn derived<'j, A: Arguments, R: FromJava<'j>>(_: &A) -> String {
    format!("({}){}", A::TYPES.concat(), R::SIGNATURE)
}

/// Looks a method or a constructor up and calls it.
fn call<'j, A: Arguments, R: FromJava<'j>>(
    java: Java<'j>,
    (look_up, family): (usize, usize),
    (class, target): (Raw, Raw),
    name: &str,
    signature: &str,
    arguments: &A,
) -> Result<R> {
    let parsed = Signature::parse(signature)?;
    let constructs = family == place::NEW_OBJECT_A;
    check_kinds(&parsed, A::TYPES, if constructs { "V" } else { R::SIGNATURE })?;
    let member = if constructs {
        Member::look_up(java, look_up, class, name, signature)?
    } else {
        Member::method(java, look_up, class, name, signature)?
    };
    R::receive(unsafe { perform(java, family, target, member, &parsed, arguments, &[])? })
}

const OF_OBJECT: (usize, usize) = (place::GET_METHOD_ID, place::CALL_METHOD_A);
const OF_CLASS: (usize, usize) = (place::GET_STATIC_METHOD_ID, place::CALL_STATIC_METHOD_A);
const CONSTRUCTOR: (usize, usize) = (place::GET_METHOD_ID, place::NEW_OBJECT_A);

impl<'j> Object<'j> {
    /// Calls the method whose parameters and result are exactly of the types of the arguments and of `R`: text and `String`
    /// are `String`, an [`Object`] is `Object`, and so on. For another one see [`Object::call_as`].
    ///
    /// ```no_run
    /// # fn of(text: &qvjvm::Object) -> qvjvm::Result<bool> {
    /// text.call::<bool>("endsWith", ("ße",)) // (Ljava/lang/String;)Z
    /// # }
    /// ```
    ///
    /// # Errors
    /// When there is no such method, and when it raises an exception.
    pub fn call<R: FromJava<'j>>(&self, name: &str, arguments: impl Arguments) -> Result<R> {
        let signature = derived::<_, R>(&arguments);
        self.call_as(name, &signature, arguments)
    }

    /// Calls the method with that name and signature. Arguments and result are compared with the signature, before
    /// anything is called.
    ///
    /// # Errors
    /// When there is no such method, when an argument does not fit, and when the method raises an exception.
    pub fn call_as<R: FromJava<'j>>(&self, name: &str, signature: &str, arguments: impl Arguments) -> Result<R> {
        let class = self.class()?;
        call(self.java(), OF_OBJECT, (class.as_raw(), self.as_raw()), name, signature, &arguments)
    }

    /// Reads the field of exactly the type of `R`.
    ///
    /// # Errors
    /// When there is no such field.
    pub fn field<R: FromJava<'j>>(&self, name: &str) -> Result<R> {
        self.field_as(name, R::SIGNATURE)
    }

    /// Reads the field of that type, `Ljava/util/List;`.
    ///
    /// # Errors
    /// When there is no such field, or `R` is no such type.
    pub fn field_as<R: FromJava<'j>>(&self, name: &str, type_text: &str) -> Result<R> {
        get_field(self.java(), (self.class()?.as_raw(), self.as_raw()), false, name, type_text)
    }

    /// Writes the field of exactly the value's type.
    ///
    /// # Errors
    /// When there is no such field.
    pub fn set_field<A: Argument>(&self, name: &str, value: A) -> Result<()> {
        self.set_field_as(name, A::SIGNATURE, value)
    }

    /// Writes the field of that type.
    ///
    /// # Errors
    /// When there is no such field, or the value does not fit.
    pub fn set_field_as<A: Argument>(&self, name: &str, type_text: &str, value: A) -> Result<()> {
        set_field(self.java(), (self.class()?.as_raw(), self.as_raw()), false, name, type_text, value)
    }
}

impl<'j> Class<'j> {
    /// A new object, by the constructor whose parameters are exactly of the arguments' types.
    ///
    /// # Errors
    /// When there is no such constructor, and when it raises an exception.
    pub fn new_object(&self, arguments: impl Arguments) -> Result<Object<'j>> {
        let signature = derived::<_, ()>(&arguments);
        self.new_object_as(&signature, arguments)
    }

    /// A new object, by the constructor with that signature, `(Ljava/util/Collection;)V`.
    ///
    /// # Errors
    /// When there is no such constructor, when an argument does not fit, and when it raises an exception.
    pub fn new_object_as(&self, signature: &str, arguments: impl Arguments) -> Result<Object<'j>> {
        call(self.java(), CONSTRUCTOR, (self.as_raw(), self.as_raw()), "<init>", signature, &arguments)
    }

    /// Calls the static method whose parameters and result are exactly of these types; see [`Object::call`].
    ///
    /// # Errors
    /// When there is no such method, and when it raises an exception.
    pub fn call_static<R: FromJava<'j>>(&self, name: &str, arguments: impl Arguments) -> Result<R> {
        let signature = derived::<_, R>(&arguments);
        self.call_static_as(name, &signature, arguments)
    }

    /// Calls the static method with that name and signature; see [`Object::call_as`].
    ///
    /// # Errors
    /// When there is no such method, when an argument does not fit, and when the method raises an exception.
    pub fn call_static_as<R: FromJava<'j>>(&self, name: &str, signature: &str, arguments: impl Arguments) -> Result<R> {
        call(self.java(), OF_CLASS, (self.as_raw(), self.as_raw()), name, signature, &arguments)
    }

    /// Reads the static field of exactly the type of `R`.
    ///
    /// # Errors
    /// When there is no such field.
    pub fn static_field<R: FromJava<'j>>(&self, name: &str) -> Result<R> {
        self.static_field_as(name, R::SIGNATURE)
    }

    /// Reads the static field of that type.
    ///
    /// # Errors
    /// When there is no such field, or `R` is no such type.
    pub fn static_field_as<R: FromJava<'j>>(&self, name: &str, type_text: &str) -> Result<R> {
        get_field(self.java(), (self.as_raw(), self.as_raw()), true, name, type_text)
    }

    /// Writes the static field of exactly the value's type.
    ///
    /// # Errors
    /// When there is no such field.
    pub fn set_static_field<A: Argument>(&self, name: &str, value: A) -> Result<()> {
        self.set_static_field_as(name, A::SIGNATURE, value)
    }

    /// Writes the static field of that type.
    ///
    /// # Errors
    /// When there is no such field, or the value does not fit.
    pub fn set_static_field_as<A: Argument>(&self, name: &str, type_text: &str, value: A) -> Result<()> {
        set_field(self.java(), (self.as_raw(), self.as_raw()), true, name, type_text, value)
    }

    /// A method that is looked up once.
    ///
    /// # Errors
    /// When there is no such method.
    pub fn method(&self, name: &str, signature: &str) -> Result<Method> {
        Signature::parse(signature)?;
        let member = Member::method(self.java(), place::GET_METHOD_ID, self.as_raw(), name, signature)?;
        Ok(Method(Handle::of(self, member, signature)?))
    }

    /// A static method that is looked up once.
    ///
    /// # Errors
    /// When there is no such method.
    pub fn static_method(&self, name: &str, signature: &str) -> Result<StaticMethod> {
        Signature::parse(signature)?;
        let member = Member::method(self.java(), place::GET_STATIC_METHOD_ID, self.as_raw(), name, signature)?;
        Ok(StaticMethod(Handle::of(self, member, signature)?))
    }

    /// A constructor that is looked up once.
    ///
    /// # Errors
    /// When there is no such constructor.
    pub fn constructor(&self, signature: &str) -> Result<Constructor> {
        Signature::parse(signature)?;
        let member = Member::look_up(self.java(), place::GET_METHOD_ID, self.as_raw(), "<init>", signature)?;
        Ok(Constructor(Handle::of(self, member, signature)?))
    }
}

fn field_of(java: Java<'_>, class: Raw, is_static: bool, name: &str, type_text: &str) -> Result<Member> {
    let at = if is_static { place::GET_STATIC_FIELD_ID } else { place::GET_FIELD_ID };
    Member::look_up(java, at, class, name, type_text)
}

fn check_field_kind(type_text: &str, wanted: &str) -> Result<()> {
    check_type(type_text)?;
    if Kind::of(type_text, 0) == Kind::of(wanted, 0) {
        return Ok(());
    }
    Err(Error::invalid(format!("the field is of the type {}, and not of {}", type_text, wanted)))
}

fn get_field<'j, R: FromJava<'j>>(
    java: Java<'j>,
    (class, target): (Raw, Raw),
    is_static: bool,
    name: &str,
    type_text: &str,
) -> Result<R> {
    check_field_kind(type_text, R::SIGNATURE)?;
    let field = field_of(java, class, is_static, name, type_text)?;
    let kind = Kind::of(type_text, 0);
    let at = if is_static { place::GET_STATIC_FIELD } else { place::GET_FIELD } + kind as usize;
    macro_rules! get {
        ($type:ty, $member:ident) => {{
            let mut value = Value::ZERO;
            value.$member = unsafe { sys::invoke!(java.env, at, (target => Raw, field.id => Raw) -> $type) };
            value
        }};
    }
    let value = match kind {
        Kind::Boolean => get!(u8, z),
        Kind::Byte => get!(i8, b),
        Kind::Char => get!(u16, c),
        Kind::Short => get!(i16, s),
        Kind::Int => get!(i32, i),
        Kind::Long => get!(i64, j),
        Kind::Float => get!(f32, f),
        Kind::Double => get!(f64, d),
        Kind::Reference | Kind::Void => get!(Raw, l),
    };
    R::receive(unsafe { received(java, kind, value)? })
}

fn set_field<A: Argument>(
    java: Java<'_>,
    (class, target): (Raw, Raw),
    is_static: bool,
    name: &str,
    type_text: &str,
    value: A,
) -> Result<()> {
    check_field_kind(type_text, A::SIGNATURE)?;
    let field = field_of(java, class, is_static, name, type_text)?;
    let mut made = Vec::new();
    let value = value.pass(java, &mut made)?;
    check_classes(java, field, &[type_text], &[A::SIGNATURE], &[value], &[])?;
    let kind = Kind::of(type_text, 0);
    let at = if is_static { place::SET_STATIC_FIELD } else { place::SET_FIELD } + kind as usize;
    macro_rules! set {
        ($type:ty, $member:ident) => {
            sys::invoke!(java.env, at, (target => Raw, field.id => Raw, value.$member => $type))
        };
    }
    unsafe {
        match kind {
            Kind::Boolean => set!(u8, z),
            Kind::Byte => set!(i8, b),
            Kind::Char => set!(u16, c),
            Kind::Short => set!(i16, s),
            Kind::Int => set!(i32, i),
            Kind::Long => set!(i64, j),
            Kind::Float => set!(f32, f),
            Kind::Double => set!(f64, d),
            Kind::Reference | Kind::Void => set!(Raw, l),
        }
    }
    Ok(())
}

/// A member that was looked up once. Its class stays loaded as long as this lives.
#[derive(Debug)]
struct Handle {
    class: Global,
    id: Id,
    is_static: bool,
    signature: String,
    declared: Vec<Option<Global>>,
}

#[derive(Clone, Copy, Debug)]
struct Id(Raw);
// Ids are good on every thread.
unsafe impl Send for Id {}
unsafe impl Sync for Id {}

impl Handle {
    fn of(class: &Class<'_>, member: Member, signature: &str) -> Result<Handle> {
        let in_doubt = |declared: &&str| Kind::of(declared, 0) == Kind::Reference && !is_of_java(declared);
        let mut declared = Vec::new();
        if Signature::parse(signature)?.parameters.iter().any(in_doubt) {
            for class in member.declared_classes(class.java())? {
                declared.push(class.map(|class| class.to_global()).transpose()?);
            }
        }
        let (id, is_static) = (Id(member.id), member.is_static);
        Ok(Handle { class: class.to_global()?, id, is_static, signature: signature.to_owned(), declared })
    }

    fn perform<'j, A: Arguments, R: FromJava<'j>>(
        &self,
        java: Java<'j>,
        family: usize,
        target: Raw,
        arguments: &A,
    ) -> Result<R> {
        let signature = Signature::parse(&self.signature)?;
        check_kinds(&signature, A::TYPES, if family == place::NEW_OBJECT_A { "V" } else { R::SIGNATURE })?;
        let member = Member { class: self.class.as_raw(), id: self.id.0, is_static: self.is_static, is_field: false };
        R::receive(unsafe { perform(java, family, target, member, &signature, arguments, &self.declared)? })
    }
}

/// A method that was looked up once, for objects of its class on any thread.
#[derive(Debug)]
pub struct Method(Handle);

impl Method {
    /// Calls it; see [`Object::call_as`].
    ///
    /// # Errors
    /// When the object is not of the method's class, when an argument does not fit, and when it raises an exception.
    pub fn call<'j, R: FromJava<'j>>(&self, object: &Object<'j>, arguments: impl Arguments) -> Result<R> {
        if !object.is_a(self.0.class.as_raw()) {
            return Err(Error::invalid("the object is not of the method's class".to_owned()));
        }
        self.0.perform(object.java(), place::CALL_METHOD_A, object.as_raw(), &arguments)
    }
}

/// A static method that was looked up once, for any thread.
#[derive(Debug)]
pub struct StaticMethod(Handle);

impl StaticMethod {
    /// Calls it; see [`Object::call_as`].
    ///
    /// # Errors
    /// When an argument does not fit, and when it raises an exception.
    pub fn call<'j, R: FromJava<'j>>(&self, java: Java<'j>, arguments: impl Arguments) -> Result<R> {
        self.0.perform(java, place::CALL_STATIC_METHOD_A, self.0.class.as_raw(), &arguments)
    }
}

/// A constructor that was looked up once, for any thread.
#[derive(Debug)]
pub struct Constructor(Handle);

impl Constructor {
    /// A new object; see [`Class::new_object_as`].
    ///
    /// # Errors
    /// When an argument does not fit, and when it raises an exception.
    pub fn new_object<'j>(&self, java: Java<'j>, arguments: impl Arguments) -> Result<Object<'j>> {
        self.0.perform(java, place::NEW_OBJECT_A, self.0.class.as_raw(), &arguments)
    }
}
