//! JNI's names and signatures, before Java sees them.

use crate::{Error, Result};
use std::ffi::CString;

/// The kinds of values, in the order of JNI's families of functions.
#[derive(Clone, Copy, Debug, PartialEq, Eq)]
pub(crate) enum Kind {
    Reference = 0,
    Boolean,
    Byte,
    Char,
    Short,
    Int,
    Long,
    Float,
    Double,
    Void,
}

impl Kind {
    /// Of a type that was parsed, or of the one within it that begins at a byte.
    pub(crate) const fn of(type_text: &str, at: usize) -> Kind {
        match type_text.as_bytes()[at] {
            b'Z' => Kind::Boolean,
            b'B' => Kind::Byte,
            b'C' => Kind::Char,
            b'S' => Kind::Short,
            b'I' => Kind::Int,
            b'J' => Kind::Long,
            b'F' => Kind::Float,
            b'D' => Kind::Double,
            b'V' => Kind::Void,
            _ => Kind::Reference,
        }
    }
}

pub(crate) const OBJECT: &str = "Ljava/lang/Object;";

/// The signature of a method, taken apart.
#[derive(Debug, PartialEq, Eq)]
pub(crate) struct Signature<'s> {
    pub(crate) parameters: Vec<&'s str>,
    pub(crate) result: &'s str,
}

impl<'s> Signature<'s> {
    pub(crate) fn parse(text: &'s str) -> Result<Signature<'s>> {
        let wrong = || Error::invalid(format!("{:?} is no signature of a method, as \"(ILjava/lang/String;)V\" is", text));
        let mut rest = text.strip_prefix('(').ok_or_else(wrong)?;
        let mut parameters = Vec::new();
        while !rest.starts_with(')') {
            let length = type_length(rest).ok_or_else(wrong)?;
            parameters.push(&rest[..length]);
            rest = &rest[length..];
        }
        let result = &rest[1..];
        if result != "V" && type_length(result) != Some(result.len()) {
            return Err(wrong());
        }
        Ok(Signature { parameters, result })
    }
}

/// Of the type that a text begins with, which is not `V`.
fn type_length(text: &str) -> Option<usize> {
    let dimensions = text.bytes().take_while(|&byte| byte == b'[').count();
    let element = &text[dimensions..];
    match element.bytes().next()? {
        _ if dimensions > 255 => None,
        b'Z' | b'B' | b'C' | b'S' | b'I' | b'J' | b'F' | b'D' => Some(dimensions + 1),
        b'L' => {
            let end = element.find(';')?;
            let name = &element[1..end];
            (!name.is_empty() && !name.contains(['.', '[', '(', ')'])).then(|| dimensions + end + 1)
        }
        _ => None,
    }
}

/// Fails unless the text is one type, as that of a field.
pub(crate) fn check_type(text: &str) -> Result<()> {
    if type_length(text) == Some(text.len()) {
        return Ok(());
    }
    Err(Error::invalid(format!("{:?} is no type, as \"I\" or \"Ljava/lang/String;\" is", text)))
}

/// What FindClass takes for a reference type: "java/lang/String", "[I".
pub(crate) fn class_name_of(type_text: &str) -> &str {
    type_text.strip_prefix('L').and_then(|rest| rest.strip_suffix(';')).unwrap_or(type_text)
}

/// Whether only Java's own loaders can have made the class of a reference type, so that its name tells which it is.
pub(crate) fn is_of_java(type_text: &str) -> bool {
    let element = type_text.trim_start_matches('[');
    element.len() == 1 || element.starts_with("Ljava/")
}

/// A name or a signature as JNI takes it, in modified UTF-8.
pub(crate) fn java_name(text: &str) -> Result<CString> {
    let mut bytes = Vec::with_capacity(text.len() + 1);
    for letter in text.chars() {
        if letter == '\0' {
            return Err(Error::invalid(format!("{:?} has a null inside, and names have none", text)));
        }
        if u32::from(letter) < 0x10000 {
            bytes.extend_from_slice(letter.encode_utf8(&mut [0; 4]).as_bytes());
        } else {
            for &unit in letter.encode_utf16(&mut [0; 2]).iter() {
                bytes.extend_from_slice(&[
                    0xE0 | (unit >> 12) as u8,
                    0x80 | (unit >> 6 & 0x3F) as u8,
                    0x80 | (unit & 0x3F) as u8,
                ]);
            }
        }
    }
    // Too long for a class file, and some runtimes do not look.
    if bytes.len() > 0xFFFF {
        return Err(Error::invalid("a name is longer than Java's names can be".to_owned()));
    }
    CString::new(bytes).map_err(|_| Error::invalid("a name has a null inside".to_owned()))
}

#[cfg(test)]
mod tests {
    use super::*;

    #[test]
    fn a_signature_is_taken_apart() {
        let parsed = Signature::parse("(I[[J[Ljava/lang/String;Lä/B;Z)[D").unwrap();
        assert_eq!(parsed.parameters, ["I", "[[J", "[Ljava/lang/String;", "Lä/B;", "Z"]);
        assert_eq!(parsed.result, "[D");
        assert_eq!(Signature::parse("()V").unwrap(), Signature { parameters: vec![], result: "V" });
    }

    #[test]
    fn what_is_no_signature_is_refused() {
        let wrong = [
            "",
            "V",
            "(",
            "()",
            "(V)V",
            "(I",
            "I)V",
            "()VV",
            "()I ",
            "(Ljava/lang/String)V",
            "(L;)V",
            "()L;",
            "(Q)V",
            "()[",
            "([V)V",
            "(Ljava.lang.String;)V",
            "(Ljava/lang/String;",
            "()Ljava/lang/String",
            "(ä)V",
            "(I)ä",
            "((I)V)V",
        ];
        for text in wrong {
            let error = Signature::parse(text).expect_err(text);
            assert!(error.to_string().contains("no signature"), "{}", error);
        }
        assert!(Signature::parse(&format!("({}I)V", "[".repeat(256))).is_err());
        assert!(Signature::parse(&format!("({}I)V", "[".repeat(255))).is_ok());
    }

    #[test]
    fn a_field_has_one_type() {
        for text in ["I", "[I", "Ljava/lang/String;", "[[Lx;"] {
            check_type(text).unwrap();
        }
        for text in ["", "V", "II", "()I", "Ljava/lang/String", "[", "[V"] {
            check_type(text).expect_err(text);
        }
    }

    #[test]
    fn names_are_in_modified_utf8() {
        assert_eq!(java_name("Grüße").unwrap().as_bytes(), "Grüße".as_bytes());
        assert_eq!(java_name("😀").unwrap().as_bytes(), b"\xED\xA0\xBD\xED\xB8\x80");
        assert!(java_name("a\0b").unwrap_err().to_string().contains("null"));
        assert!(java_name(&"a".repeat(0x10000)).is_err());
    }

    #[test]
    fn names_of_classes() {
        assert_eq!(class_name_of("Ljava/lang/String;"), "java/lang/String");
        assert_eq!(class_name_of("[Ljava/lang/String;"), "[Ljava/lang/String;");
        assert!(is_of_java("[[I") && is_of_java("[Ljava/util/List;"));
        assert!(!is_of_java("Ljavax/swing/JFrame;") && !is_of_java("[Lcom/example/A;"));
    }
}
