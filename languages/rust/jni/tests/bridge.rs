//! Both crates on one Java runtime.

use jni::objects::{JObject, JString, JValue};
use qvjvm::{Jvm, Result};
use qvjvm_jni::Bridge;

fn main() -> Result<()> {
    let jvm = Jvm::start()?;
    jvm.with(|java| {
        // An object of qvjvm's in jni's hands, and a string of jni's in qvjvm's.
        let list = java.new_object("java/util/ArrayList", ())?;
        let raw = unsafe {
            java.with_jni(|env| {
                let text = env.new_string("Grüße")?;
                let list = JObject::from_raw(list.as_raw().cast());
                assert!(env.call_method(&list, "add", "(Ljava/lang/Object;)Z", &[JValue::Object(&text)])?.z()?);
                assert_eq!(String::from(env.get_string(&text)?), "Grüße");
                Ok(text.into_raw())
            })?
        };
        let text: qvjvm::JString<'_> = unsafe { java.object_of(raw.cast())? }.expect("a string").cast()?;
        assert_eq!(text.text()?, "Grüße");
        assert_eq!(list.call::<i32>("size", ())?, 1);

        // A Java exception, and an error of jni's own.
        let error = unsafe {
            java.with_jni(|env| {
                let text = JObject::from(env.new_string("seventeen")?);
                env.call_static_method("java/lang/Integer", "parseInt", "(Ljava/lang/String;)I", &[(&text).into()])?.i()
            })
        };
        let error = error.expect_err("no number");
        assert_eq!(error.to_string(), "java.lang.NumberFormatException: For input string: \"seventeen\"");
        let error = unsafe { java.with_jni(|env| env.get_string(&JString::default()).map(drop)) };
        assert!(error.expect_err("null").exception().is_none());
        assert_eq!(java.new_string("goes on")?.length(), 7);

        let vm = java.java_vm()?;
        assert!(vm.get_env().is_ok());
        Ok(())
    })?;
    // A thread of jni's.
    let vm = jvm.with(|java| java.java_vm())?;
    std::thread::scope(|threads| {
        let other = threads.spawn(|| {
            let mut env = vm.attach_current_thread().expect("the thread joins");
            env.find_class("java/lang/String").is_ok()
        });
        assert!(other.join().expect("the thread ends"));
    });
    println!("1 passed, 0 failed");
    Ok(())
}
