// error: lifetime may not live long enough
//! A reference does not leave `with`.
fn main() {
    let jvm = qvjvm::Jvm::start().unwrap();
    let text = jvm.with(|java| java.new_string("mine")).unwrap();
    println!("{}", text.length());
}
