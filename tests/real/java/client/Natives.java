package client;

/** Whose native methods the host has. */
public class Natives {
  public final int number;

  public Natives(int number) {
    this.number = number;
  }

  public native int plus(int other);

  public native Natives same();

  public native String all(boolean z, byte b, char c, short s, long j, float f, double d, String text, int[] numbers);

  public static native double half(double value);

  public static native boolean not(boolean value);

  public static native void fail(int way) throws java.io.IOException;

  public static native String[] split(String text, Runnable each);

  public static native int ofNobody();

  public static String callAll() {
    final Natives one = new Natives(5);
    return one.plus(6) + " " + (one.same() == one) + " "
        + one.all(true, (byte) -1, '\u20ac', (short) -2, 1L << 40, 0.5f, -0.25, "text", new int[] {1, 2})
        + half(3.0) + not(true) + not(false);
  }

  public static String caught(int way) throws java.io.IOException {
    try {
      fail(way);
      return "nothing";
    } catch (RuntimeException e) {
      return Callbacks.describe(e);
    }
  }

  public static long sum(int count) {
    final Natives one = new Natives(0);
    long sum = 0;
    for (int i = 0; i < count; ++i) sum += one.plus(i);
    return sum;
  }
}
