//! What is outside: a few functions of Windows, the service's table, JNI's table. Everything here is as unsafe as C.

use std::ffi::c_void;
use std::os::raw::c_char;
use std::ptr::null_mut;

/// A JNI reference, or any other pointer of Java's.
pub type Raw = *mut c_void;
/// JNI's environment: a pointer to a table of functions.
pub type Env = *mut *const *const c_void;
/// An object of the service or of the host library: a pointer to a table of functions that take the object first.
pub type Com = *mut *const *const c_void;
pub type Status = i32;

pub const E_FAIL: Status = 0x8000_4005_u32 as Status;
pub const S_CLASSPATH_IGNORED: Status = 8;

/// JNI's jvalue.
#[derive(Clone, Copy)]
#[repr(C)]
pub union Value {
    pub z: u8,
    pub b: i8,
    pub c: u16,
    pub s: i16,
    pub i: i32,
    pub j: i64,
    pub f: f32,
    pub d: f64,
    pub l: Raw,
}

impl Value {
    pub const ZERO: Value = Value { j: 0 };
}

/// Slots of the service object; docs/slots.md lists them all.
pub mod slot {
    pub const RELEASE: usize = 2; // of IQvString too
    pub const TEXT_OF_STRING: usize = 5; // of IQvString
    pub const GET_ERROR_TEXT: usize = 5;
    pub const DELETE_GLOBAL_REF: usize = 11;
    pub const FIND_CLASS: usize = 12;
    pub const GET_LOG_FILE_NAME: usize = 51;
    pub const SET_LOG_FILE_NAME: usize = 52;
    pub const SET_JVM_LOG_ENABLED: usize = 53;
    pub const IS_JVM_CREATED: usize = 54;
    pub const GET_CLASS_PATH: usize = 55;
    pub const GET_JAVA_VERSION: usize = 56;
    pub const ACQUIRE_THREAD_ENV: usize = 60;
}

/// Places of the JNI functions that are used. Families begin with the function for objects; the others follow in the
/// order of [`Kind`](crate::signature::Kind), those of calls at every third place.
pub mod place {
    pub const FIND_CLASS: usize = 6;
    pub const TO_REFLECTED_METHOD: usize = 9;
    pub const TO_REFLECTED_FIELD: usize = 12;
    pub const EXCEPTION_OCCURRED: usize = 15;
    pub const EXCEPTION_CLEAR: usize = 17;
    pub const NEW_GLOBAL_REF: usize = 21;
    pub const DELETE_LOCAL_REF: usize = 23;
    pub const IS_SAME_OBJECT: usize = 24;
    pub const NEW_LOCAL_REF: usize = 25;
    pub const NEW_OBJECT_A: usize = 30;
    pub const GET_OBJECT_CLASS: usize = 31;
    pub const IS_INSTANCE_OF: usize = 32;
    pub const GET_METHOD_ID: usize = 33;
    pub const CALL_METHOD_A: usize = 36;
    pub const GET_FIELD_ID: usize = 94;
    pub const GET_FIELD: usize = 95;
    pub const SET_FIELD: usize = 104;
    pub const GET_STATIC_METHOD_ID: usize = 113;
    pub const CALL_STATIC_METHOD_A: usize = 116;
    pub const GET_STATIC_FIELD_ID: usize = 144;
    pub const GET_STATIC_FIELD: usize = 145;
    pub const SET_STATIC_FIELD: usize = 154;
    pub const NEW_STRING: usize = 163;
    pub const GET_STRING_LENGTH: usize = 164;
    pub const GET_ARRAY_LENGTH: usize = 171;
    pub const NEW_OBJECT_ARRAY: usize = 172;
    pub const GET_OBJECT_ARRAY_ELEMENT: usize = 173;
    pub const SET_OBJECT_ARRAY_ELEMENT: usize = 174;
    pub const NEW_ARRAY: usize = 174; // of boolean at the next place, and so on
    pub const GET_ARRAY_REGION: usize = 198; // the same
    pub const SET_ARRAY_REGION: usize = 206; // the same
    pub const GET_STRING_REGION: usize = 220;
    pub const EXCEPTION_CHECK: usize = 228;
}

/// The function at a place of a table; `F` is its type.
///
/// # Safety
/// The table has that place, and its function is of that type.
pub unsafe fn function<F: Copy>(object: *mut *const *const c_void, place: usize) -> F {
    debug_assert_eq!(std::mem::size_of::<F>(), std::mem::size_of::<*const c_void>());
    std::mem::transmute_copy(&*(*object).add(place))
}

/// Calls a function of a table: `invoke!(object, place, (argument: Type, ...) -> Result)`.
macro_rules! invoke {
    ($object:expr, $place:expr, ($($value:expr => $type:ty),*) $(-> $result:ty)?) => {{
        let object = $object;
        type Function = unsafe extern "system" fn(*mut *const *const ::std::ffi::c_void $(, $type)*) $(-> $result)?;
        $crate::sys::function::<Function>(object, $place)(object $(, $value)*)
    }};
}
pub(crate) use invoke;

pub type CreateJavaVm = unsafe extern "system" fn(*mut Com, *const u16) -> Status;
pub type SetApplicationValue = unsafe extern "system" fn(*const u16, *const u16, *const u16) -> Status;
pub type GetCreatedJavaVms = unsafe extern "system" fn(*mut Raw, i32, *mut i32) -> i32;

pub const LOAD_WITH_ALTERED_SEARCH_PATH: u32 = 8;

#[link(name = "kernel32")]
extern "system" {
    pub fn LoadLibraryW(name: *const u16) -> Raw;
    pub fn LoadLibraryExW(name: *const u16, file: Raw, flags: u32) -> Raw;
    pub fn FreeLibrary(library: Raw) -> i32;
    pub fn GetModuleHandleW(name: *const u16) -> Raw;
    pub fn GetProcAddress(library: Raw, name: *const c_char) -> Raw;
    pub fn GetModuleFileNameW(module: Raw, path: *mut u16, units: u32) -> u32;
    pub fn GetFullPathNameW(path: *const u16, units: u32, full: *mut u16, name: *mut *mut u16) -> u32;
    pub fn SearchPathW(
        path: *const u16,
        file: *const u16,
        extension: *const u16,
        units: u32,
        found: *mut u16,
        name: *mut *mut u16,
    ) -> u32;
}

/// A function of a module that is loaded, or nothing.
///
/// # Safety
/// `F` is the type of that function; the name ends in a null.
pub unsafe fn exported<F: Copy>(module: Raw, name: &str) -> Option<F> {
    debug_assert!(name.ends_with('\0') && std::mem::size_of::<F>() == std::mem::size_of::<Raw>());
    let found = if module.is_null() { null_mut() } else { GetProcAddress(module, name.as_ptr().cast()) };
    (!found.is_null()).then(|| std::mem::transmute_copy(&found))
}

/// Takes over an IQvString.
///
/// # Safety
/// It is one, or null, and the caller's.
pub unsafe fn take_text(string: Com) -> Option<String> {
    if string.is_null() {
        return None;
    }
    let units = invoke!(string, slot::TEXT_OF_STRING, () -> *const u16);
    let length = (0..).take_while(|&i| *units.add(i) != 0).count();
    let text = String::from_utf16_lossy(std::slice::from_raw_parts(units, length));
    invoke!(string, slot::RELEASE, () -> u32);
    Some(text)
}
