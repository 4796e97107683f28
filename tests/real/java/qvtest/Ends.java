package qvtest;

import java.lang.reflect.Field;
import java.util.ArrayList;
import java.util.List;

/** Ways in which Java code ends the process. */
public class Ends {
  public static void exit(int code) {
    System.exit(code);
  }

  public static void halt(int code) {
    java.lang.Runtime.getRuntime().halt(code);
  }

  /** Writes where no memory is, which the JVM does not survive. */
  public static void crash() throws ReflectiveOperationException {
    final Class<?> type = Class.forName("sun.misc.Unsafe");
    final Field instance = type.getDeclaredField("theUnsafe");
    instance.setAccessible(true);
    type.getMethod("putAddress", long.class, long.class).invoke(instance.get(null), 0L, 0L);
  }

  /** Keeps whatever it can get. */
  public static void runOutOfMemory() {
    final List<long[]> kept = new ArrayList<>();
    while (true) kept.add(new long[1 << 20]);
  }

  /** Calls the host without pause, on threads of its own; what it throws now and then is caught. */
  public static void callForEver(Runnable host) {
    final Runnable caller = () -> {
      while (true) {
        try {
          host.run();
        } catch (RuntimeException e) {
          continue;
        }
      }
    };
    for (int i = 0; i < 3; ++i) new Thread(caller, "caller " + i).start();
  }
}
