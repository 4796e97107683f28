//! A machine without Java: the texts say what is missing. In a process of its own, which does not look for Java again.

use qvjvm::Jvm;
use std::env;

fn main() {
    env::set_var("JAVA_HOME", "C:\\elsewhere");
    let error = Jvm::options().heap(64 << 20).property("a", "b").start().expect_err("there is no Java there");
    assert!(error.exception().is_none() && error.status() < Some(0), "{:?}", error);
    let text = error.to_string();
    assert!(
        text.starts_with("no Java VM: no Java runtime was found; JAVA_HOME is C:\\elsewhere. qvjvm-doctor.exe"),
        "{}",
        text
    );
    println!("1 passed, 0 failed");
}
