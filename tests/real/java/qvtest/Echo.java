package qvtest;

/** One method for every kind of value that crosses the interface; each gives back what it got. */
public final class Echo {
  public static int intSmallest = Integer.MIN_VALUE;
  public static int intLargest = Integer.MAX_VALUE;
  public static int intMinusOne = -1;
  public static short shortSmallest = Short.MIN_VALUE;
  public static short shortLargest = Short.MAX_VALUE;
  public static short shortMinusOne = -1;
  public static String lastText = "never called";

  private final String made;

  public Echo() {
    made = "made with nothing";
  }

  public Echo(boolean z, byte b, char c, short s, int i, long j, float f, double d, Object o, String t) {
    made = describe(z, b, c, s, i, j, f, d, o, t);
  }

  public String made() {
    return made;
  }

  public boolean ofBoolean(boolean value) {
    return value;
  }

  public byte ofByte(byte value) {
    return value;
  }

  public short ofShort(short value) {
    return value;
  }

  public int ofInt(int value) {
    return value;
  }

  public long ofLong(long value) {
    return value;
  }

  public float ofFloat(float value) {
    return value;
  }

  public double ofDouble(double value) {
    return value;
  }

  public Object ofObject(Object value) {
    return value;
  }

  public String ofString(String value) {
    return value;
  }

  public int bitsOfFloat(float value) {
    return Float.floatToRawIntBits(value);
  }

  public long bitsOfDouble(double value) {
    return Double.doubleToRawLongBits(value);
  }

  public void keep(String text) {
    lastText = text;
  }

  public String kept() {
    return lastText;
  }

  public String describe(
      boolean z, byte b, char c, short s, int i, long j, float f, double d, Object o, String t) {
    return z + " " + b + " " + (int) c + " " + s + " " + i + " " + j + " " + f + " " + d + " " + (o == null) + " " + t;
  }

  /** Arguments past the registers, of both register classes. */
  public String many(int a, double b, long c, float d, int e, double f, long g, float h, int i, double j) {
    return a + " " + b + " " + c + " " + d + " " + e + " " + f + " " + g + " " + h + " " + i + " " + j;
  }

  public static boolean staticBoolean(boolean value) {
    return value;
  }

  public static Object staticObject(Object value) {
    return value;
  }

  public static String staticDescribe(
      boolean z, byte b, char c, short s, int i, long j, float f, double d, Object o, String t) {
    return new Echo().describe(z, b, c, s, i, j, f, d, o, t);
  }

  public static void staticKeep(String text) {
    lastText = text;
  }

  public static String staticKeepAndTell(String text) {
    lastText = text;
    return "told";
  }
}
