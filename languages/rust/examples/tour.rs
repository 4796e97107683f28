//! The parts of docs/rust.md. Each prints what it did.

use qvjvm::{ByteArray, Error, Jvm, ObjectArray, Result};

fn call(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        // By the types of the arguments and the result: endsWith(Ljava/lang/String;)Z.
        let text = java.new_string("Grüße")?;
        println!("{}", text.call::<bool>("endsWith", ("ße",))?);
        // By a signature, with which the types are compared.
        let words = ObjectArray::of_texts(java, &["three", "a", "by"])?;
        let list: qvjvm::Object = java.find_class("java/util/Arrays")?.call_static_as(
            "asList",
            "([Ljava/lang/Object;)Ljava/util/List;",
            (&words,),
        )?;
        list.call_as::<()>("sort", "(Ljava/util/Comparator;)V", (qvjvm::Null,))?;
        println!("{}", list.to_text()?);
        // Null is a None where the result is an Option, and an error elsewhere.
        let home: Option<String> = java.find_class("java/lang/System")?.call_static("getenv", ("NOT_THERE",))?;
        println!("{:?}", home);
        Ok(())
    })
}

fn look_up_once(jvm: &Jvm) -> Result<()> {
    let length = jvm.with(|java| java.find_class("java/lang/String")?.method("length", "()I"))?;
    jvm.with(|java| {
        let mut units = 0;
        for word in ["by", "three"] {
            units += length.call::<i32>(&*java.new_string(word)?, ())?;
        }
        println!("{} units", units);
        Ok(())
    })
}

fn move_bytes(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        let bytes = ByteArray::of(java, b"bytes of the host")?;
        let checksum = java.new_object("java/util/zip/CRC32", ())?;
        checksum.call::<()>("update", (&bytes,))?;
        println!("{:x}", checksum.call::<i64>("getValue", ())?);
        Ok(())
    })
}

fn tell_why(jvm: &Jvm) {
    let done = jvm.with(|java| {
        let file = java.find_class("java/io/FileReader")?.new_object(("not there.txt",))?;
        file.call::<i32>("read", ())
    });
    let error: Error = done.expect_err("there is no such file");
    if let Some(exception) = error.exception() {
        println!("{}", exception.class_name());
        let stack = exception.stack_text();
        println!("{} lines of stack", if stack.lines().count() > 1 { "some" } else { "no" });
    }
}

fn share(jvm: &Jvm) -> Result<()> {
    let count = jvm.with(|java| java.new_object("java/util/concurrent/atomic/AtomicInteger", ())?.to_global())?;
    std::thread::scope(|threads| {
        for _ in 0..4 {
            threads.spawn(|| {
                let add = jvm.with(|java| {
                    let count = count.get(java)?; // this thread's own reference
                    (0..100).try_for_each(|_| count.call::<i32>("incrementAndGet", ()).map(drop))
                });
                add.expect("the thread counts");
            });
        }
    });
    println!("{}", jvm.with(|java| count.get(java)?.call::<i32>("get", ()))?);
    Ok(())
}

fn main() -> Result<()> {
    let jvm = Jvm::options().heap(256 << 20).property("greeting", "moin").compiled().start()?;
    let greeting =
        jvm.with(|java| java.find_class("java/lang/System")?.call_static::<Option<String>>("getProperty", ("greeting",)))?;
    println!("{:?}, came too late: {:?}", greeting, jvm.ignored());
    call(&jvm)?;
    look_up_once(&jvm)?;
    move_bytes(&jvm)?;
    tell_why(&jvm);
    share(&jvm)
}
