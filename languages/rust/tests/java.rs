//! The crate on a real Java runtime, one after another in one process. With QVJVM_TEST_CHECK in the environment Java checks
//! the use of JNI, and says in its log what it does not like.

use qvjvm::{Array, ByteArray, Class, Element, Error, Global, JString, Java, Jvm, Null, Object, ObjectArray, Options, Result};
use std::env;
use std::path::PathBuf;

type Test = fn(&Jvm) -> Result<()>;

/// The text of a failure, which there has to be.
fn failure<T>(done: Result<T>) -> Error {
    match done {
        Ok(_) => panic!("it should have failed"),
        Err(error) => error,
    }
}

fn refused<T>(done: Result<T>, text: &str) {
    let error = failure(done);
    assert!(error.is_invalid() && error.exception().is_none(), "{:?}", error);
    assert!(error.to_string().contains(text), "{}", error);
}

fn raised<T>(done: Result<T>, class: &str) -> Error {
    let error = failure(done);
    assert_eq!(error.exception().map(|exception| exception.class_name()), Some(class), "{:?}", error);
    error
}

// ---- before Java runs ----

fn starts_that_cannot_be() -> Result<()> {
    let text = |options: Options| failure(options.start()).to_string();
    let missing = text(Jvm::options().library("no such service.dll"));
    assert!(missing.starts_with("cannot load no such service.dll: "), "{}", missing);
    assert_eq!(failure(Jvm::options().library("no such service.dll").start()).status(), Some(126));
    assert_eq!(text(Jvm::options().library("kernel32.dll")), "kernel32.dll is not the Java VM Service");
    refused(Jvm::options().runtime("no such runtime").start(), "there is no Java runtime, bin\\server\\jvm.dll, in ");
    refused(Jvm::options().option("Xmx1g").start(), "begins with '-'");
    refused(Jvm::options().class_path(["no such folder/*"]).start(), "a folder that is not there");
    refused(Jvm::options().property("a\0b", "").start(), "null inside");
    refused(Jvm::options().log_file("a\0b", 1).start(), "null inside");
    Ok(())
}

fn start(log: &PathBuf) -> Result<Jvm> {
    let mut options = Jvm::options()
        .heap(64 << 20)
        .option("-XX:+UseSerialGC")
        .option("-XX:-UseDynamicNumberOfCompilerThreads") // Wine can hang where threads end and others start
        .property("qvjvm.text", "Grüße")
        .compiled()
        .class_path(["a folder", "C:/another.jar"])
        .log_file(log, 0)
        .context_class_loader();
    if env::var_os("QVJVM_TEST_CHECK").is_some() {
        options = options.option("-Xcheck:jni");
    }
    options.start()
}

// ---- with Java ----

fn property(java: Java<'_>, name: &str) -> Result<Option<String>> {
    java.find_class("java/lang/System")?.call_static("getProperty", (name,))
}

fn java_has_what_was_asked_for(jvm: &Jvm) -> Result<()> {
    assert!(jvm.created() && jvm.ignored().is_empty());
    jvm.with(|java| {
        let runtime: Object<'_> =
            java.find_class("java/lang/Runtime")?.call_static_as("getRuntime", "()Ljava/lang/Runtime;", ())?;
        assert!(runtime.call::<i64>("maxMemory", ())? <= 64 << 20);
        assert_eq!(property(java, "qvjvm.text")?.as_deref(), Some("Grüße"));
        assert_eq!(property(java, "java.compiler")?, None);
        assert_eq!(property(java, "java.version")?, Some(jvm.java_version()?));
        let class_path = property(java, "java.class.path")?.unwrap_or_default();
        let program = env::current_exe().unwrap();
        let folder = program.parent().unwrap().join("a folder");
        let first = format!("{};C:\\another.jar", folder.display());
        assert!(class_path.starts_with(&first), "{}", class_path);
        assert_eq!(jvm.class_path()?, class_path);
        let thread: Object<'_> =
            java.find_class("java/lang/Thread")?.call_static_as("currentThread", "()Ljava/lang/Thread;", ())?;
        assert!(thread.call_as::<Option<Object<'_>>>("getContextClassLoader", "()Ljava/lang/ClassLoader;", ())?.is_some());
        Ok(())
    })?;
    let again = Jvm::options().heap(1 << 30).class_path(["more"]).option("-ea").start()?;
    assert_eq!(again.ignored(), ["heap", "option", "class_path"]);
    Ok(())
}

fn strings(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        for text in
            ["", "plain", "Grüße, Łódź", "nulls\0in\0side\0", "\0", "pairs 😀𝄞", "\u{FFFF}\u{FFFE}", &"ß".repeat(100_000)]
        {
            let string = java.new_string(text)?;
            assert_eq!(string.length(), text.encode_utf16().count());
            assert_eq!(string.text()?, text);
            assert_eq!(string.call::<i32>("length", ())? as usize, string.length());
            assert_eq!(string.call::<String>("concat", ("!\0",))?, format!("{}!\0", text));
        }
        let half = java.new_string_of(&[0x61, 0xD83D, 0x62])?;
        assert_eq!(half.to_utf16(), [0x61, 0xD83D, 0x62]);
        refused(half.text(), "half of a surrogate pair");
        assert_eq!(half.text_lossy(), "a\u{FFFD}b");
        refused(half.call::<String>("toString", ()), "half of a surrogate pair");
        assert_eq!(half.call::<JString<'_>>("trim", ())?.length(), 3);
        Ok(())
    })
}

/// A value in its box: by the constructor, by valueOf, by the field, and changed.
macro_rules! boxed {
    ($java:expr, $class:literal, $method:literal, $one:expr, $other:expr, $type:ty) => {{
        let (one, other): ($type, $type) = ($one, $other);
        let class = $java.find_class($class)?;
        let made = class.new_object((one,))?;
        assert_eq!(made.call::<$type>($method, ())?, one);
        assert_eq!(made.field::<$type>("value")?, one);
        made.set_field("value", other)?;
        assert_eq!(made.call::<$type>($method, ())?, other);
        let compare = class.call_static::<i32>("compare", (one, other))?;
        assert_eq!(compare.signum(), one.partial_cmp(&other).unwrap() as i32);
    }};
}

fn every_type_of_value(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        boxed!(java, "java/lang/Boolean", "booleanValue", true, false, bool);
        boxed!(java, "java/lang/Byte", "byteValue", -128, 127, i8);
        boxed!(java, "java/lang/Character", "charValue", 0xFFFF, 0, u16);
        boxed!(java, "java/lang/Short", "shortValue", i16::MIN, i16::MAX, i16);
        boxed!(java, "java/lang/Integer", "intValue", i32::MIN, i32::MAX, i32);
        boxed!(java, "java/lang/Long", "longValue", i64::MIN, i64::MAX, i64);
        boxed!(java, "java/lang/Float", "floatValue", f32::MIN_POSITIVE, f32::MAX, f32);
        boxed!(java, "java/lang/Double", "doubleValue", -0.5, f64::MAX, f64);

        // Results of static methods, of each kind.
        let class = |name: &str| java.find_class(name);
        assert!(class("java/lang/Boolean")?.call_static::<bool>("parseBoolean", ("TRUE",))?);
        assert_eq!(class("java/lang/Byte")?.call_static::<i8>("parseByte", ("-7",))?, -7);
        assert_eq!(class("java/lang/Character")?.call_static::<u16>("toUpperCase", (u16::from(b'q'),))?, u16::from(b'Q'));
        assert_eq!(class("java/lang/Short")?.call_static::<i16>("reverseBytes", (0x0102_i16,))?, 0x0201);
        assert_eq!(class("java/lang/Integer")?.call_static::<i32>("parseInt", ("-12", 10))?, -12);
        assert_eq!(class("java/lang/Long")?.call_static::<i64>("rotateLeft", (1_i64, 63))?, i64::MIN);
        assert_eq!(class("java/lang/Float")?.call_static::<f32>("intBitsToFloat", (0x40A8_0000,))?, 5.25);
        assert_eq!(class("java/lang/Math")?.call_static::<f64>("hypot", (3.0, 4.0))?, 5.0);
        assert_eq!(class("java/lang/String")?.call_static::<String>("valueOf", (1.5_f64,))?, "1.5");
        class("java/lang/System")?.call_static::<()>("gc", ())?;

        // Static fields.
        assert_eq!(class("java/lang/Integer")?.static_field::<i32>("MAX_VALUE")?, i32::MAX);
        assert_eq!(class("java/lang/Short")?.static_field::<i16>("MIN_VALUE")?, i16::MIN);
        assert_eq!(class("java/lang/Double")?.static_field::<f64>("MAX_VALUE")?, f64::MAX);
        assert_eq!(class("java/io/File")?.static_field::<String>("separator")?, "\\");
        let order: Object<'_> =
            class("java/lang/String")?.static_field_as("CASE_INSENSITIVE_ORDER", "Ljava/util/Comparator;")?;
        assert_eq!(order.call_as::<i32>("compare", "(Ljava/lang/Object;Ljava/lang/Object;)I", ("A", "a"))?, 0);

        // The most arguments.
        let list = class("java/util/List")?.call_static_as::<Object<'_>>(
            "of",
            "(Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;\
             Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;)Ljava/util/List;",
            ("a", "b", "c", "d", "e", "f", String::from("g"), &String::from("h"), Some("i"), &java.new_string("j")?),
        )?;
        assert_eq!(list.to_text()?, "[a, b, c, d, e, f, g, h, i, j]");
        Ok(())
    })
}

fn null(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        let value_of = "(Ljava/lang/Object;)Ljava/lang/String;";
        let string = java.find_class("java/lang/String")?;
        let none: Option<&Object<'_>> = None;
        assert_eq!(string.call_static_as::<String>("valueOf", value_of, (Null,))?, "null");
        assert_eq!(string.call_static_as::<String>("valueOf", value_of, (none,))?, "null");
        assert_eq!(string.call_static_as::<String>("valueOf", value_of, (None::<&str>,))?, "null");
        let error = raised(java.new_string("a")?.call::<bool>("endsWith", (None::<&str>,)), "java.lang.NullPointerException");
        assert!(error.exception().unwrap().throwable().is_some());

        // Null where an object was asked for.
        let map = java.new_object("java/util/HashMap", ())?;
        let get = "(Ljava/lang/Object;)Ljava/lang/Object;";
        refused(map.call_as::<Object<'_>>("get", get, ("nothing",)), "gave null");
        refused(map.call_as::<String>("get", get, ("nothing",)), "gave null");
        refused(map.call_as::<Global>("get", get, ("nothing",)), "gave null");
        assert_eq!(map.call_as::<Option<String>>("get", get, ("nothing",))?, None);
        assert!(map.call_as::<Option<Global>>("get", get, ("nothing",))?.is_none());
        map.call_as::<()>("put", "(Ljava/lang/Object;Ljava/lang/Object;)Ljava/lang/Object;", ("key", "value"))?;
        assert_eq!(map.call_as::<Option<String>>("get", get, ("key",))?.as_deref(), Some("value"));
        Ok(())
    })
}

fn what_is_not_there(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        for name in ["no/such/Class", "", "java.lang.String", "[", "[Lno/such/Class;", "I", "/", "😀"] {
            let error = failure(java.find_class(name));
            assert!(error.exception().is_some(), "{}: {:?}", name, error);
        }
        refused(java.find_class("java/lang/String\0"), "null inside");
        refused(java.find_class(&"x".repeat(70_000)), "longer");

        let text = java.new_string("text")?;
        let string = text.class()?;
        raised(text.call::<i32>("noSuchMethod", ()), "java.lang.NoSuchMethodError");
        raised(text.call::<i32>("length", ("too many",)), "java.lang.NoSuchMethodError");
        raised(text.call::<i64>("length", ()), "java.lang.NoSuchMethodError");
        raised(text.call::<i32>("", ()), "java.lang.NoSuchMethodError");
        raised(string.call_static::<i32>("length", ()), "java.lang.NoSuchMethodError");
        raised(string.new_object((true, false)), "java.lang.NoSuchMethodError");
        raised(text.field::<i32>("noSuchField"), "java.lang.NoSuchFieldError");
        raised(string.static_field::<i32>("hash"), "java.lang.NoSuchFieldError");
        raised(java.new_object("java/util/AbstractList", ()), "java.lang.InstantiationException");
        raised(java.find_class("[I")?.new_object(()), "java.lang.NoSuchMethodError");
        refused(text.call::<()>("<init>", ()), "no method that can be called");
        refused(string.call_static::<()>("<clinit>", ()), "no method that can be called");
        refused(string.method("<init>", "()V"), "no method that can be called");
        refused(text.call::<i32>("len\0gth", ()), "null inside");

        let int: Object<'_> = java.find_class("java/lang/Integer")?.static_field_as("TYPE", "Ljava/lang/Class;")?;
        assert_eq!(int.to_text()?, "int");
        refused(int.cast::<Class<'_>>(), "primitive");
        Ok(())
    })
}

fn what_does_not_fit(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        let text = java.new_string("text")?;
        let starts = "(Ljava/lang/String;I)Z";
        for signature in ["", "()", "(I", "(Ljava/lang/String)Z", "(Q)Z", "(I)ZZ", "I"] {
            refused(text.call_as::<bool>("startsWith", signature, ()), "no signature");
            refused(text.class()?.method("startsWith", signature), "no signature");
        }
        refused(text.call_as::<bool>("startsWith", starts, ("t",)), "2 parameters, and not 1");
        refused(text.call_as::<bool>("startsWith", starts, ("t", 1, 2)), "2 parameters, and not 3");
        refused(text.call_as::<bool>("startsWith", starts, (1, "t")), "argument 1 is of the type I");
        refused(text.call_as::<bool>("startsWith", starts, ("t", 1_i64)), "argument 2 is of the type J");
        refused(text.call_as::<i32>("startsWith", starts, ("t", 1)), "gives Z, and not I");
        refused(text.call_as::<String>("startsWith", starts, ("t", 1)), "gives Z");
        refused(text.call_as::<bool>("startsWith", starts, (Null, Null)), "argument 2");
        assert!(text.call_as::<bool>("startsWith", starts, ("ext", 1))?);
        // A result that nobody wants.
        text.call_as::<()>("startsWith", starts, ("t", 0))?;
        text.call_as::<()>("trim", "()Ljava/lang/String;", ())?;

        // References of other classes than the parameter's: Java's own ones, and others.
        let list = java.new_object("java/util/ArrayList", ())?;
        refused(text.call_as::<bool>("startsWith", starts, (&list, 1)), "argument 1 is no java.lang.String");
        refused(text.call_as::<bool>("contains", "(Ljava/lang/CharSequence;)Z", (&list,)), "no java.lang.CharSequence");
        assert!(text.call_as::<bool>("contains", "(Ljava/lang/CharSequence;)Z", ("ex",))?);
        let add_all = "(Ljava/util/Collection;)Z";
        refused(list.call_as::<bool>("addAll", add_all, ("text",)), "no java.util.Collection");
        refused(java.find_class("java/util/ArrayList")?.new_object_as("(Ljava/util/Collection;)V", ("text",)), "no java.util");
        let factory_class = java.find_class("javax/xml/transform/TransformerFactory")?;
        let factory: Object<'_> =
            factory_class.call_static_as("newInstance", "()Ljavax/xml/transform/TransformerFactory;", ())?;
        let set = "(Ljavax/xml/transform/URIResolver;)V";
        refused(factory.call_as::<()>("setURIResolver", set, (&list,)), "no javax.xml.transform.URIResolver");
        factory.call_as::<()>("setURIResolver", set, (Null,))?;
        let once = factory_class.method("setURIResolver", set)?;
        refused(once.call::<()>(&factory, (&list,)), "no javax.xml.transform.URIResolver");
        once.call::<()>(&factory, (Null,))?;
        refused(once.call::<()>(&list, (Null,)), "not of the method's class");

        // Fields.
        refused(list.set_field_as("elementData", "[Ljava/lang/Object;", "text"), "no [Ljava.lang.Object;");
        refused(list.field_as::<i32>("elementData", "[Ljava/lang/Object;"), "and not of I");
        refused(list.set_field_as("size", "I", 1_i64), "and not of J");
        refused(list.field_as::<i32>("size", "int"), "is no type");
        refused(list.field::<()>("size"), "is no type");
        let reference = java.new_object("java/util/concurrent/atomic/AtomicReference", ())?;
        reference.set_field_as("value", "Ljava/lang/Object;", "text")?;
        assert_eq!(reference.field_as::<Option<String>>("value", "Ljava/lang/Object;")?.as_deref(), Some("text"));
        refused(reference.field_as::<Class<'_>>("value", "Ljava/lang/Object;"), "a java.lang.String, and no java.lang.Class");

        // Casts.
        refused(list.try_clone()?.cast::<JString<'_>>(), "the object is a java.util.ArrayList, and no java.lang.String");
        refused(text.try_clone()?.cast::<ObjectArray<'_>>(), "no [Ljava.lang.Object;");
        refused(text.try_clone()?.cast::<ByteArray<'_>>(), "no [B");
        assert_eq!(text.try_clone()?.cast::<JString<'_>>()?.text()?, "text");
        Ok(())
    })
}

fn exceptions(jvm: &Jvm) -> Result<()> {
    let error = jvm.with(|java| {
        let inner = java.new_object("java/io/IOException", ("inner\0 Grüße",))?;
        let cause = "(Ljava/lang/String;Ljava/lang/Throwable;)V";
        let outer = java.find_class("java/lang/IllegalStateException")?.new_object_as(cause, (None::<&str>, &inner))?;
        let future: Object<'_> = java.find_class("java/util/concurrent/CompletableFuture")?.call_static_as(
            "failedFuture",
            "(Ljava/lang/Throwable;)Ljava/util/concurrent/CompletableFuture;",
            (&outer,),
        )?;
        let error = raised(future.call::<Object<'_>>("join", ()), "java.util.concurrent.CompletionException");
        let innermost = error.exception().unwrap().cause().unwrap().cause().unwrap();
        assert!(innermost.throwable().unwrap().get(java)?.is_same(&inner));
        Ok(error)
    })?;
    assert!(!error.is_invalid() && error.status().is_none());
    assert_eq!(error.to_string(), "java.util.concurrent.CompletionException: java.lang.IllegalStateException");

    // The causes, as Rust's errors have them; and on another thread.
    let other = std::thread::spawn(move || {
        let mut texts = Vec::new();
        let mut next: Option<&(dyn std::error::Error + 'static)> = Some(&error);
        while let Some(this) = next {
            texts.push(this.to_string());
            next = this.source();
        }
        let exception = error.exception().unwrap();
        assert_eq!(exception.cause().unwrap().message(), None);
        assert_eq!(exception.cause().unwrap().cause().unwrap().message(), Some("inner\0 Grüße"));
        (texts, exception.stack_text())
    });
    let (texts, stack) = other.join().unwrap();
    assert_eq!(texts[1..], ["java.lang.IllegalStateException", "java.io.IOException: inner\0 Grüße"]);
    assert!(stack.contains("\tat java.") && stack.contains("Caused by: java.io.IOException: inner\0 Grüße"), "{}", stack);

    jvm.with(|java| {
        // Nothing stays pending, and Java goes on.
        java.check()?;
        // Without memory.
        let error = raised(Array::<i64>::new(java, i32::MAX as usize), "java.lang.OutOfMemoryError");
        assert!(error.exception().unwrap().message().is_some());
        refused(Array::<i64>::new(java, 1 << 31), "more than Java can count");
        Ok(())
    })?;

    // An error of the program's own, through `with`.
    let own = failure(jvm.with::<()>(|_| Err(Error::other("of the program's own"))));
    assert!(own.exception().is_none() && own.to_string() == "of the program's own");
    assert_eq!(own.into_other().unwrap().to_string(), "of the program's own");
    assert!(failure(jvm.with(|java| java.find_class("no/such/Class").map(drop))).into_other().is_err());
    Ok(())
}

fn array_of<T: Element + PartialEq + std::fmt::Debug>(java: Java<'_>, values: &[T], sort: &str) -> Result<()> {
    let array = Array::of(java, values)?;
    assert_eq!(array.length(), values.len());
    assert_eq!(array.to_vec()?, values);
    if !sort.is_empty() {
        java.find_class("java/util/Arrays")?.call_static_as::<()>("sort", sort, (&array,))?;
        let mut last = [T::default()];
        array.read(values.len() - 1, &mut last)?;
        assert_eq!(last[0], values[0]);
    }
    let mut beyond = [T::default(); 2];
    raised(array.read(values.len() - 1, &mut beyond), "java.lang.ArrayIndexOutOfBoundsException");
    raised(array.write(values.len(), &beyond[..1]), "java.lang.ArrayIndexOutOfBoundsException");
    assert_eq!(beyond, [T::default(); 2]);
    array.write(values.len(), &[])?;
    assert_eq!(array.into_object().cast::<Array<'_, T>>()?.length(), values.len());
    Ok(())
}

fn arrays(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        array_of(java, &[true, false, true], "")?;
        array_of(java, &[255_u8, 0, 128], "")?;
        array_of(java, &[127_i8, -128, 5], "([B)V")?;
        array_of(java, &[0xFFFF_u16, 0, 7], "([C)V")?;
        array_of(java, &[i16::MAX, i16::MIN], "([S)V")?;
        array_of(java, &[i32::MAX, 3, i32::MIN], "([I)V")?;
        array_of(java, &[i64::MAX, i64::MIN, 0], "([J)V")?;
        array_of(java, &[1.5_f32, -1.5, 0.0], "([F)V")?;
        array_of(java, &[f64::MAX, f64::MIN, 0.0], "([D)V")?;
        refused(Array::<i32>::new(java, 1)?.into_object().cast::<Array<'_, f32>>(), "no [F");

        // A MiB there and back, and through Java.
        let bytes: Vec<u8> = (0..1 << 20).map(|i: u32| (i.wrapping_mul(2_654_435_761) >> 24) as u8).collect();
        let array = ByteArray::of(java, &bytes)?;
        assert!(array.to_vec()? == bytes);
        let copy: ByteArray<'_> =
            java.find_class("java/util/Arrays")?.call_static("copyOf", (&array, i32::try_from(bytes.len()).unwrap()))?;
        assert!(copy.to_vec()? == bytes && !copy.is_same(&array));
        let text = java.find_class("java/lang/String")?.new_object((&copy, "ISO-8859-1"))?.cast::<JString<'_>>()?;
        assert!(text.to_utf16().iter().map(|&unit| unit as u8).eq(bytes.iter().copied()));

        // Of objects.
        let words = ["b", "", "a\0", "ä😀"];
        let array = ObjectArray::of_texts(java, &words)?;
        assert_eq!(array.length(), 4);
        for (i, word) in words.iter().enumerate() {
            assert_eq!(array.get(i)?.unwrap().cast::<JString<'_>>()?.text()?, *word);
        }
        array.set(1, None)?;
        assert!(array.get(1)?.is_none());
        raised(array.get(4), "java.lang.ArrayIndexOutOfBoundsException");
        raised(array.set(4, None), "java.lang.ArrayIndexOutOfBoundsException");
        refused(array.get(1 << 31), "more than Java can count");
        raised(array.set(0, Some(&java.new_object("java/util/ArrayList", ())?)), "java.lang.ArrayStoreException");
        let nested = ObjectArray::new(&array.class()?, 2)?;
        nested.set(0, Some(&array))?;
        assert!(nested.get(0)?.unwrap().is_same(&array));
        let deep: String = java.find_class("java/util/Arrays")?.call_static_as(
            "deepToString",
            "([Ljava/lang/Object;)Ljava/lang/String;",
            (&nested,),
        )?;
        assert_eq!(deep, "[[b, null, a\0, ä😀], null]");
        let copy: ObjectArray<'_> = nested.call_as("clone", "()Ljava/lang/Object;", ())?;
        assert!(copy.length() == 2 && !copy.is_same(&nested));
        Ok(())
    })
}

fn threads(jvm: &Jvm) -> Result<()> {
    const THREADS: i32 = 8;
    const ROUNDS: i32 = 500;
    let (count, add, number) = jvm.with(|java| {
        let count = java.new_object("java/util/concurrent/atomic/AtomicInteger", ())?;
        let add = count.class()?.method("addAndGet", "(I)I")?;
        let number = java.find_class("java/lang/Integer")?.static_method("parseInt", "(Ljava/lang/String;)I")?;
        Ok((count.to_global()?, add, number))
    })?;
    let work = |thread: i32| {
        for round in 0..ROUNDS {
            jvm.with(|java| add.call::<i32>(&count.get(java)?, (1,)).map(drop))?;
            if round % 50 == 0 {
                let text = format!("thread {} round {}", thread, round);
                let error = raised(jvm.with(|java| number.call::<i32>(java, (&text,))), "java.lang.NumberFormatException");
                assert_eq!(error.exception().unwrap().message(), Some(&*format!("For input string: \"{}\"", text)));
            }
            drop(count.try_clone()?);
        }
        Ok(())
    };
    std::thread::scope(|scope| {
        let mut all = Vec::new();
        for thread in 0..THREADS {
            all.push(scope.spawn(move || work(thread)));
        }
        all.into_iter().try_for_each(|thread| thread.join().unwrap())
    })?;
    let counted: i32 = jvm.with(|java| count.get(java)?.call("get", ()))?;
    assert_eq!(counted, THREADS * ROUNDS);
    // Dropped on a thread that has never called Java.
    std::thread::spawn(move || drop((count, add, number))).join().unwrap();
    Ok(())
}

/// More references than Java's heap or its table of local references could hold if one of them stayed.
fn references_are_given_back(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        let list = java.new_object("java/util/ArrayList", ())?;
        let get = list.class()?.method("get", "(I)Ljava/lang/Object;")?;
        list.call_as::<bool>("add", "(Ljava/lang/Object;)Z", ("entry",))?;
        for _ in 0..100_000 {
            assert_eq!(get.call::<JString<'_>>(&list, (0,))?.length(), 5);
        }
        for _ in 0..2_000 {
            let kept = Array::<i8>::new(java, 1 << 18)?.to_global()?.try_clone()?;
            assert!(kept.get_as::<Array<'_, i8>>(java)?.length() == 1 << 18);
        }
        // Exceptions with something large in their cause.
        let failed = java
            .find_class("java/util/concurrent/CompletableFuture")?
            .static_method("failedFuture", "(Ljava/lang/Throwable;)Ljava/util/concurrent/CompletableFuture;")?;
        for _ in 0..400 {
            let cause = java.new_object("javax/naming/NamingException", ())?;
            let large = Array::<i8>::new(java, 1 << 18)?;
            cause.call_as::<()>("setResolvedObj", "(Ljava/lang/Object;)V", (&large,))?;
            let future: Object<'_> = failed.call(java, (&cause,))?;
            raised(future.call::<Object<'_>>("join", ()), "java.util.concurrent.CompletionException");
        }
        Ok(())
    })
}

fn a_call_in_a_call(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        let text = java.new_string("outer")?;
        let inner = jvm.with(|_| text.call::<String>("toUpperCase", ()))?;
        assert_eq!(inner, "OUTER");
        assert_eq!(java.jvm().clone().with(|java| java.new_string("a")?.text())?, "a");
        Ok(())
    })
}

fn the_other_way_in(jvm: &Jvm) -> Result<()> {
    jvm.with(|java| {
        let text = java.new_string("text")?;
        let same = unsafe { java.object_of(text.as_raw())? }.unwrap();
        assert!(same.is_same(&text) && same.is_instance_of(&text.class()?));
        assert!(unsafe { java.object_of(std::ptr::null_mut())? }.is_none());
        assert!(!java.env().is_null());
        drop(unsafe { java.object_of(same.into_raw())? });
        Ok(())
    })
}

fn main() -> Result<()> {
    fn for_every_thread<T: Send + Sync>() {}
    for_every_thread::<(Jvm, Global, Error, qvjvm::Method, qvjvm::StaticMethod, qvjvm::Constructor)>();

    let log = env::temp_dir().join(format!("qvjvm-rust-{}.log", std::process::id()));
    println!("starts_that_cannot_be");
    starts_that_cannot_be()?;
    let jvm = start(&log)?;
    let tests: [(&str, Test); 12] = [
        ("java_has_what_was_asked_for", java_has_what_was_asked_for),
        ("strings", strings),
        ("every_type_of_value", every_type_of_value),
        ("null", null),
        ("what_is_not_there", what_is_not_there),
        ("what_does_not_fit", what_does_not_fit),
        ("exceptions", exceptions),
        ("arrays", arrays),
        ("threads", threads),
        ("references_are_given_back", references_are_given_back),
        ("a_call_in_a_call", a_call_in_a_call),
        ("the_other_way_in", the_other_way_in),
    ];
    for (name, test) in tests {
        println!("{}", name);
        test(&jvm)?;
    }
    let said = std::fs::read_to_string(&log).unwrap_or_default();
    assert!(!said.contains("WARNING in native method") && !said.contains("exceeds capacity"), "{}", said);
    let _ = std::fs::remove_file(&log);
    println!("{} passed, 0 failed", tests.len() + 1);
    Ok(())
}
