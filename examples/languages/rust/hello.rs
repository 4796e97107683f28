// The Java VM Service from Rust, through its binary interface alone. Prints the Java version, the result of a call and
// the text of a Java exception.
//
//   rustc --target x86_64-pc-windows-gnu -C linker=x86_64-w64-mingw32-gcc hello.rs
use std::ffi::{c_void, CString};
use std::os::raw::c_char;
use std::process::exit;
use std::ptr::{null, null_mut};

/// A COM-style object: a pointer to a table of functions that take the object first.
#[repr(C)]
struct Object {
    table: *const *const c_void,
}
type Reference = *mut c_void;

// The slots that this program uses; docs/slots.md lists them all.
const RELEASE: usize = 2;
const GET_ERROR_TEXT: usize = 5;
const FIND_CLASS: usize = 12;
const NEW_STRING: usize = 14;
const CALL_INT_METHOD: usize = 20;
const CALL_STATIC_OBJECT_METHOD: usize = 39;
const GET_JAVA_VERSION: usize = 56;
const TEXT_OF_STRING: usize = 5; // of IQvString

type Release = unsafe extern "C" fn(*mut Object) -> u32;
type GetText = unsafe extern "C" fn(*mut Object, *mut *mut Object) -> i32;
type TextOfString = unsafe extern "C" fn(*mut Object) -> *const u16;
type FindClass = unsafe extern "C" fn(*mut Object, *mut Reference, *const c_char) -> i32;
type NewString = unsafe extern "C" fn(*mut Object, *mut Reference, *const u16) -> i32;
type CallInt =
    unsafe extern "C" fn(*mut Object, *mut i32, Reference, Reference, *const c_char, *const c_char, ...) -> i32;
type CallStaticObject =
    unsafe extern "C" fn(*mut Object, *mut Reference, Reference, *const c_char, *const c_char, ...) -> i32;
type CreateJavaVM = unsafe extern "C" fn(*mut *mut Object, *const u16) -> i32;

extern "system" {
    fn LoadLibraryW(name: *const u16) -> *mut c_void;
    fn GetProcAddress(library: *mut c_void, name: *const c_char) -> *const c_void;
}

/// The operation of a slot; `F` is its type.
unsafe fn slot<F: Copy>(object: *mut Object, number: usize) -> F {
    std::mem::transmute_copy(&*(*object).table.add(number))
}

unsafe fn take_text(string: *mut Object) -> String {
    let units = slot::<TextOfString>(string, TEXT_OF_STRING)(string);
    let length = (0..).take_while(|&i| *units.add(i) != 0).count();
    let text = String::from_utf16_lossy(std::slice::from_raw_parts(units, length));
    slot::<Release>(string, RELEASE)(string);
    text
}

unsafe fn text_of(vm: *mut Object, number: usize) -> Option<String> {
    let mut string: *mut Object = null_mut();
    let status = slot::<GetText>(vm, number)(vm, &mut string);
    (status >= 0 && !string.is_null()).then(|| take_text(string))
}

fn wide(text: &str) -> Vec<u16> {
    text.encode_utf16().chain([0]).collect()
}

fn narrow(text: &str) -> CString {
    CString::new(text).expect("no null inside")
}

/// Ends the program with the service's error text unless the status is a success.
unsafe fn check(vm: *mut Object, status: i32, what: &str) {
    if status < 0 {
        eprintln!("{}: {}", what, text_of(vm, GET_ERROR_TEXT).unwrap_or_default());
        exit(1);
    }
}

unsafe fn find_class(vm: *mut Object, name: &str) -> Reference {
    let mut class = null_mut();
    check(vm, slot::<FindClass>(vm, FIND_CLASS)(vm, &mut class, narrow(name).as_ptr()), name);
    class
}

unsafe fn start() -> *mut Object {
    let library = LoadLibraryW(wide("qvjvm.dll").as_ptr());
    let create = if library.is_null() { null() } else { GetProcAddress(library, narrow("QV_CreateJavaVM").as_ptr()) };
    if create.is_null() {
        eprintln!("qvjvm.dll cannot be loaded");
        exit(3);
    }
    let create: CreateJavaVM = std::mem::transmute(create);
    let mut vm = null_mut();
    if create(&mut vm, null()) < 0 {
        eprintln!("no Java VM; ask qvjvm-doctor");
        exit(3);
    }
    vm
}

fn main() {
    unsafe {
        let vm = start();
        println!("Java {}", text_of(vm, GET_JAVA_VERSION).expect("a version"));

        let string = find_class(vm, "java/lang/String");
        let mut text = null_mut();
        check(vm, slot::<NewString>(vm, NEW_STRING)(vm, &mut text, wide("Grüße aus Rust").as_ptr()), "NewString");
        let mut length = 0;
        let (name, signature) = (narrow("length"), narrow("()I"));
        let status = slot::<CallInt>(vm, CALL_INT_METHOD)(
            vm, &mut length, string, text, name.as_ptr(), signature.as_ptr());
        check(vm, status, "length");
        println!("length {}", length);

        let integer = find_class(vm, "java/lang/Integer");
        let mut result = null_mut();
        let (name, signature) = (narrow("valueOf"), narrow("(Ljava/lang/String;)Ljava/lang/Integer;"));
        let status = slot::<CallStaticObject>(vm, CALL_STATIC_OBJECT_METHOD)(
            vm, &mut result, integer, name.as_ptr(), signature.as_ptr(), text);
        if status < 0 {
            println!("as it should be: {}", text_of(vm, GET_ERROR_TEXT).unwrap_or_default());
        }
        slot::<Release>(vm, RELEASE)(vm);
    }
}
