fn main() -> qvjvm::Result<()> {
    let jvm = qvjvm::Jvm::start()?;
    jvm.with(|java| {
        let list = java.new_object("java/util/ArrayList", ())?;
        list.call_as::<bool>("add", "(Ljava/lang/Object;)Z", ("Grüße",))?;
        println!("{} entry: {}", list.call::<i32>("size", ())?, list.to_text()?);

        let integer = java.find_class("java/lang/Integer")?;
        match integer.call_static::<i32>("parseInt", ("seventeen",)) {
            Ok(number) => println!("{}", number),
            Err(error) => println!("{}", error),
        }
        Ok(())
    })
}
