package client;

import java.io.FileNotFoundException;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/** Everything that goes wrong. */
public class Faults {
    public static void chain() throws IOException {
        IOException outer = new IOException("outer", new IllegalStateException("inner"));
        outer.addSuppressed(new RuntimeException("on the way"));
        throw outer;
    }

    public static void notFound() throws FileNotFoundException {
        throw new FileNotFoundException("lost.txt");
    }

    /** Its own text fails too. */
    public static class Mute extends RuntimeException {
        @Override
        public String toString() {
            throw new IllegalStateException();
        }
    }

    /** It has no text. */
    public static class Silent extends RuntimeException {
        @Override
        public String toString() {
            return null;
        }

        @Override
        public String getMessage() {
            return "but a message";
        }
    }

    public static void mute() {
        throw new Mute();
    }

    public static void silent() {
        throw new Silent();
    }

    public static void longText(int length) {
        StringBuilder text = new StringBuilder();
        for (int i = 0; i < length; ++i) {
            text.append((char) ('a' + i % 26));
        }
        throw new RuntimeException(text.toString());
    }

    /** A class that cannot be initialised. */
    public static class Broken {
        public static final int VALUE = Integer.parseInt("no number");

        public static int value() {
            return VALUE;
        }
    }

    private static List<long[]> kept;

    /** Fills the heap, and leaves it full until release. */
    public static void fill() {
        kept = new ArrayList<>();
        int size = 1 << 24;
        while (true) {
            try {
                kept.add(new long[size]);
            } catch (OutOfMemoryError full) {
                if (size == 1) {
                    throw full;
                }
                size /= 2;
            }
        }
    }

    public static void release() {
        kept = null;
    }

    public static int deep(int depth) {
        return deep(depth + 1) + 1;
    }
}
