package qvcs;

import java.lang.ref.WeakReference;
import java.util.Arrays;

/** What the tests call: values of every type come back changed, so that nothing passes that was not in Java. */
public class Sample extends Base {
    public boolean aBoolean;
    public byte aByte;
    public char aChar;
    public short aShort;
    public int anInt;
    public long aLong;
    public float aFloat;
    public double aDouble;
    public String aString;
    public int[] ints;
    public final int fixed = 7;
    public static boolean sBoolean;
    public static byte sByte;
    public static char sChar;
    public static short sShort;
    public static int sInt;
    public static long sLong;
    public static float sFloat;
    public static double sDouble;
    public static String sString = "first";
    public static final String CONSTANT = "constant";

    public Sample() {
    }

    public Sample(int number, String text) {
        anInt = number;
        aString = text;
    }

    public boolean not(boolean value) { return !value; }
    public byte next(byte value) { return (byte) (value + 1); }
    public char next(char value) { return (char) (value + 1); }
    public short next(short value) { return (short) (value + 1); }
    public int next(int value) { return value + 1; }
    public long next(long value) { return value + 1; }
    public float half(float value) { return value / 2; }
    public double half(double value) { return value / 2; }
    public String twice(String value) { return value + value; }
    public Object same(Object value) { return value; }
    public void add(int value) { anInt += value; }

    public static boolean sNot(boolean value) { return !value; }
    public static byte sNext(byte value) { return (byte) (value + 1); }
    public static char sNext(char value) { return (char) (value + 1); }
    public static short sNext(short value) { return (short) (value + 1); }
    public static int sNext(int value) { return value + 1; }
    public static long sNext(long value) { return value + 1; }
    public static float sHalf(float value) { return value / 2; }
    public static double sHalf(double value) { return value / 2; }
    public static void sAdd(int value) { sInt += value; }

    /** Every kind of argument at once, the places of each in the text. */
    public static String all(boolean z, byte b, char c, short s, int i, long j, float f, double d, String text, Object o) {
        return z + " " + b + " " + (int) c + " " + s + " " + i + " " + j + " " + f + " " + d + " " + text + " " + o;
    }

    public static String codes(String text) {
        StringBuilder codes = new StringBuilder();
        text.chars().forEach(unit -> codes.append(Integer.toHexString(unit)).append(' '));
        return codes.toString();
    }

    public static String className(Object value) { return value == null ? "null" : value.getClass().getName(); }

    public static boolean[] reversed(boolean[] a) { return new boolean[] {a[1], a[0]}; }
    public static byte[] reversed(byte[] a) {
        byte[] r = new byte[a.length];
        for (int i = 0; i < a.length; ++i) r[i] = a[a.length - 1 - i];
        return r;
    }
    public static char[] reversed(char[] a) { return new char[] {a[1], a[0]}; }
    public static short[] reversed(short[] a) { return new short[] {a[1], a[0]}; }
    public static int[] reversed(int[] a) { return new int[] {a[1], a[0]}; }
    public static long[] reversed(long[] a) { return new long[] {a[1], a[0]}; }
    public static float[] reversed(float[] a) { return new float[] {a[1], a[0]}; }
    public static double[] reversed(double[] a) { return new double[] {a[1], a[0]}; }
    public static String[] reversed(String[] a) { return new String[] {a[1], a[0]}; }
    public static int[][] reversed(int[][] a) { return new int[][] {a[1], a[0]}; }
    /** So many, and null behind them. */
    public static Integer[] boxed(int count) {
        Integer[] a = new Integer[count + 1];
        for (int i = 0; i < count; ++i) a[i] = i;
        return a;
    }
    public static String text(Object[] values) {
        return Arrays.deepToString(values) + " " + values.getClass().getName();
    }

    public static void fill(int[] values, int value) { Arrays.fill(values, value); }
    public static int hash(byte[] bytes) { return Arrays.hashCode(bytes); }

    public void fail(String message) {
        try {
            try {
                throw new java.io.IOException("the disk is full");
            } catch (java.io.IOException cause) {
                throw new IllegalArgumentException("in between", cause);
            }
        } catch (IllegalArgumentException cause) {
            throw new IllegalStateException(message, cause);
        }
    }

    public static int dereference(Sample value) { return value.anInt; }

    /** Compiled code meets null: the Java VM finds out by an access violation. */
    public static int dereferenceOften(Sample value, int times) {
        int sum = 0;
        for (int i = 0; i < times; ++i) sum += dereference(value);
        return sum;
    }

    public static int deep(int level) { return deep(level + 1) + 1; }

    public static long[] tooMuch() { return new long[Integer.MAX_VALUE]; }

    public static class Silent extends RuntimeException {
        @Override public String toString() { throw new IllegalStateException("no text"); }
    }

    public static class Circle extends RuntimeException {
        private Throwable cause;
        public Circle(String message) { super(message); }
        @Override public synchronized Throwable getCause() { return cause; }
        public static void fly() {
            Circle one = new Circle("one");
            Circle two = new Circle("two");
            one.cause = two;
            two.cause = one;
            throw one;
        }
    }

    public static void silent() { throw new Silent(); }

    private static WeakReference<Object> watched;

    public static Object watch() {
        Object made = new Object();
        watched = new WeakReference<>(made);
        return made;
    }

    /** Whether the object of watch() is gone; collects. */
    public static boolean isGone() {
        System.gc();
        return watched.get() == null;
    }

    public static String threadName() { return Thread.currentThread().getName(); }

    public static boolean hasLoader() { return Thread.currentThread().getContextClassLoader() != null; }

    public String secret() { return "derived"; }
}
