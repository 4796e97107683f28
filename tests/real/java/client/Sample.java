package client;

import java.io.Serializable;
import java.util.ArrayList;
import java.util.List;

/** What the C++ client reads, writes, makes and calls. */
public class Sample implements Serializable {
    public boolean ofBoolean;
    public byte ofByte;
    public char ofChar;
    public short ofShort;
    public int ofInt;
    public long ofLong;
    public float ofFloat;
    public double ofDouble;
    public String ofText;
    public Object ofObject;
    public int[] ofInts;
    public List<Object> ofList;

    public static boolean staticBoolean;
    public static byte staticByte;
    public static char staticChar;
    public static short staticShort;
    public static int staticInt;
    public static long staticLong;
    public static float staticFloat;
    public static double staticDouble;
    public static String staticText;
    public static Object staticObject;
    public static List<Object> staticList;

    public Sample() {
        ofText = "none";
    }

    public Sample(int value) {
        ofInt = value;
    }

    public Sample(Object value) {
        ofObject = value;
    }

    public Sample(List<Object> value) {
        ofList = value;
    }

    /** Below Sample, for results and arguments that are less than they seem. */
    public static class Special extends Sample {}

    public Object same(Object value) {
        return value;
    }

    public long wide(long value) {
        return value;
    }

    public int sum(int[][] rows) {
        int sum = 0;
        for (int[] row : rows) {
            for (int value : row) {
                sum += value;
            }
        }
        return sum;
    }

    public static int[][] triangle(int size) {
        int[][] rows = new int[size][];
        for (int i = 0; i < size; ++i) {
            rows[i] = new int[i];
            java.util.Arrays.fill(rows[i], i);
        }
        return rows;
    }

    public static Object[] mixed() {
        return new Object[] {"text", 1, null};
    }

    public static byte[] bytes(byte[] from) {
        return from.clone();
    }

    public static boolean[] flip(boolean[] from) {
        boolean[] flipped = new boolean[from.length];
        for (int i = 0; i < from.length; ++i) {
            flipped[i] = !from[i];
        }
        return flipped;
    }

    public static char[] chars(char[] from) {
        return from.clone();
    }

    public static String[] texts(String[] from) {
        return from.clone();
    }

    public static Integer plusOne(Integer value) {
        return value == null ? null : value + 1;
    }

    public static Class<?> classOf(Object value) {
        return value == null ? null : value.getClass();
    }

    public static String nameOf(Class<?> cls) {
        return cls.getName();
    }

    /** Says List and gives none: nothing but a check finds out. */
    @SuppressWarnings("unchecked")
    public static <T> T untrue() {
        return (T) "no list";
    }

    public static List<Integer> numbers(int count) {
        List<Integer> numbers = new ArrayList<>();
        for (int i = 0; i < count; ++i) {
            numbers.add(i);
        }
        return numbers;
    }

    public static int first(java.nio.ByteBuffer buffer) {
        buffer.put(0, (byte) (buffer.get(0) + 1));
        return buffer.get(0);
    }
}
