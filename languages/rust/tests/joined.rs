//! The crate in a process whose JVM somebody else has made.

use qvjvm::{Jvm, Result};
use std::ffi::c_void;
use std::os::raw::c_char;
use std::ptr::null_mut;

#[repr(C)]
struct Arguments {
    version: i32,
    count: i32,
    options: *mut c_void,
    ignore: u8,
}

#[link(name = "kernel32")]
extern "system" {
    fn LoadLibraryExA(name: *const c_char, file: *mut c_void, flags: u32) -> *mut c_void;
    fn GetProcAddress(library: *mut c_void, name: *const c_char) -> *mut c_void;
}

type CreateJavaVm = unsafe extern "system" fn(*mut *mut c_void, *mut *mut c_void, *mut Arguments) -> i32;

fn make_a_jvm() {
    let home = std::env::var("JAVA_HOME").expect("a Java runtime in JAVA_HOME");
    let path = format!("{}\\bin\\server\\jvm.dll\0", home);
    // The runtime finds its own libraries there.
    std::env::set_var("PATH", format!("{}\\bin;{}", home, std::env::var("PATH").unwrap_or_default()));
    let mut arguments = Arguments { version: 0x0001_0008, count: 0, options: null_mut(), ignore: 0 };
    let (mut vm, mut env) = (null_mut(), null_mut());
    unsafe {
        let library = LoadLibraryExA(path.as_ptr().cast(), null_mut(), 8);
        let create = GetProcAddress(library, b"JNI_CreateJavaVM\0".as_ptr().cast());
        assert!(!create.is_null(), "{} cannot be loaded", path);
        let create: CreateJavaVm = std::mem::transmute(create);
        assert_eq!(create(&mut vm, &mut env, &mut arguments), 0);
    }
}

fn main() -> Result<()> {
    make_a_jvm();
    let jvm = Jvm::options().heap(64 << 20).compiled().property("a", "b").class_path(["c"]).runtime("d").start()?;
    assert!(!jvm.created());
    assert_eq!(jvm.ignored(), ["heap", "property", "compiled", "class_path", "runtime"]);
    assert!(jvm.java_version().is_err());
    jvm.with(|java| {
        let list = java.new_object("java/util/ArrayList", ())?;
        assert_eq!(list.call::<i32>("size", ())?, 0);
        let error = java.find_class("no/such/Class").expect_err("there is none");
        let class = error.exception().expect("Java's").class_name();
        assert!(class == "java.lang.NoClassDefFoundError" || class == "java.lang.ClassNotFoundException", "{}", class);
        java.check()
    })?;
    println!("1 passed, 0 failed");
    Ok(())
}
