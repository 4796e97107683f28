// error[E0277]: `*mut
//! A reference does not leave its thread.
fn main() {
    let jvm = qvjvm::Jvm::start().unwrap();
    jvm.with(|java| {
        let text = java.new_string("mine")?;
        std::thread::scope(|threads| threads.spawn(|| text.length()).join().map(drop)).unwrap();
        Ok(())
    })
    .unwrap();
}
