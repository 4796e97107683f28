package qvtest;

/** Methods that throw: one for every result type, and exceptions with difficult texts. */
public class Faults {
  public static class FailingText extends RuntimeException {
    @Override
    public String toString() {
      throw new IllegalStateException("no text for you");
    }
  }

  public static class GivenText extends RuntimeException {
    private final String text;

    public GivenText(String text) {
      this.text = text;
    }

    @Override
    public String toString() {
      return text;
    }
  }

  public static class BadStart {
    static final int VALUE = Integer.parseInt("not a number");
  }

  public Faults() {}

  public Faults(String message) {
    throw new IllegalArgumentException(message);
  }

  public boolean ofBoolean() {
    throw new IllegalStateException("boolean");
  }

  public byte ofByte() {
    throw new IllegalStateException("byte");
  }

  public short ofShort() {
    throw new IllegalStateException("short");
  }

  public int ofInt() {
    throw new IllegalStateException("int");
  }

  public long ofLong() {
    throw new IllegalStateException("long");
  }

  public float ofFloat() {
    throw new IllegalStateException("float");
  }

  public double ofDouble() {
    throw new IllegalStateException("double");
  }

  public Object ofObject() {
    throw new IllegalStateException("object");
  }

  public void ofVoid() {
    throw new IllegalStateException("void");
  }

  public static boolean ofStaticBoolean() {
    throw new IllegalStateException("static boolean");
  }

  public static Object ofStaticObject() {
    throw new IllegalStateException("static object");
  }

  public static void ofStaticVoid() {
    throw new IllegalStateException("static void");
  }

  public static void throwNullText() {
    throw new GivenText(null);
  }

  public static void throwFailingText() {
    throw new FailingText();
  }

  public static void throwText(String text) {
    throw new GivenText(text);
  }

  public static void throwTextOfLength(String length) {
    throw new GivenText(Texts.ofLength("0123456789", length));
  }

  public static Object exhaustMemory() {
    return new long[Integer.MAX_VALUE];
  }

  public static void throwWithCause() throws Exception {
    throw new Exception("outer", new Exception("inner"));
  }
}
