package client;

import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.FutureTask;
import java.util.function.IntUnaryOperator;
import java.util.function.Supplier;

/** What calls the host's objects. */
public class Callbacks {
  /** Every type, as parameters and as results. */
  public interface Every {
    String all(boolean z, byte b, char c, short s, int i, long j, float f, double d, String text, int[] numbers, Object any);

    boolean ofBoolean(boolean value);

    byte ofByte(byte value);

    char ofChar(char value);

    short ofShort(short value);

    long ofLong(long value);

    float ofFloat(float value);

    double ofDouble(double value);

    String[] ofTexts(String... texts);
  }

  public static String callEvery(Every on) {
    return on.all(true, (byte) -1, 'x', (short) -2, -3, 1L << 40, 0.5f, -0.25, "text", new int[] {1, 2}, null)
        + on.ofBoolean(true) + on.ofByte((byte) -128) + on.ofChar('\uffff') + on.ofShort((short) -32768)
        + on.ofLong(Long.MIN_VALUE) + on.ofFloat(-1.5f) + on.ofDouble(Double.MIN_VALUE) + on.ofTexts("a", "b").length;
  }

  public interface Many {
    Object take(Object a, Object b, Object c, Object d);
  }

  /** Default methods of every result. */
  public interface Defaults {
    int once(int value);

    default int twice(int value) {
      return 2 * once(value);
    }

    default String text(String text, byte b, char c, short s, long j, float f, double d, boolean z, Object any) {
      return text + b + c + s + j + f + d + z + any;
    }

    default boolean isSmall(int value) {
      return once(value) < 10;
    }

    default double half(double value) {
      return value / 2;
    }

    default void fail() throws java.io.IOException {
      throw new java.io.IOException("of the default method");
    }

    static int ofNobody() {
      return 0;
    }
  }

  interface Hidden {
    int hidden(int value);

    default int more(int value) {
      return hidden(value) + 1;
    }
  }

  public static int callHidden(Object on, int value) {
    return ((Hidden) on).more(value);
  }

  public interface Overloads {
    String take(Object any);

    String take(String text);

    String take(int number);
  }

  public interface Covariant extends Supplier<Object> {
    @Override
    String get();
  }

  public abstract static class NoInterface {}

  public static String describe(RuntimeException raised) {
    return raised.getClass().getName() + ": " + raised.getMessage() + " " + (raised.getStackTrace().length > 0);
  }

  /** What a call of it raises, told; Java catches it. */
  public static String caught(Runnable work) {
    try {
      work.run();
      return "nothing";
    } catch (RuntimeException e) {
      return describe(e);
    }
  }

  public static Throwable thrown(Callable<?> work) {
    try {
      work.call();
      return null;
    } catch (Throwable e) {
      return e;
    }
  }

  public static void inOtherThread(Runnable work) throws ExecutionException, InterruptedException {
    final FutureTask<Object> task = new FutureTask<>(work, null);
    final Thread thread = new Thread(task);
    thread.start();
    task.get();
    thread.join();
  }

  public static long sum(IntUnaryOperator function, int count) {
    long sum = 0;
    for (int i = 0; i < count; ++i) sum += function.applyAsInt(i);
    return sum;
  }

  /** Calls from many threads; what they got, together. */
  public static long sumOfThreads(IntUnaryOperator function, int threads, int count) throws Exception {
    final List<FutureTask<Long>> tasks = new ArrayList<>();
    for (int i = 0; i < threads; ++i) {
      final FutureTask<Long> task = new FutureTask<>(() -> sum(function, count));
      tasks.add(task);
      new Thread(task).start();
    }
    long sum = 0;
    for (FutureTask<Long> task : tasks) sum += task.get();
    return sum;
  }

  /** Runs the work in virtual threads, all at once; how many, 0 where Java has none. */
  public static int inVirtualThreads(Runnable work, int count) throws Exception {
    final java.lang.reflect.Method start;
    try {
      start = Thread.class.getMethod("startVirtualThread", Runnable.class);
    } catch (NoSuchMethodException e) {
      return 0;
    }
    final List<FutureTask<Object>> tasks = new ArrayList<>();
    for (int i = 0; i < count; ++i) {
      final FutureTask<Object> task = new FutureTask<>(work, null);
      tasks.add(task);
      start.invoke(null, task);
    }
    for (FutureTask<Object> task : tasks) task.get();
    return count;
  }

  /** Threads that call until the host has taken its object back. */
  public static Thread[] callUntilRefused(Runnable work, int count) {
    final Thread[] threads = new Thread[count];
    for (int i = 0; i < count; ++i) {
      threads[i] = new Thread(() -> {
        try {
          while (true) work.run();
        } catch (IllegalStateException e) {
          return;
        }
      });
      threads[i].start();
    }
    return threads;
  }

  public static void join(Thread[] threads) throws InterruptedException {
    for (Thread thread : threads) thread.join();
  }

  /** Whether there is a thread of that name. */
  public static boolean hasThread(String name) {
    for (Thread thread : Thread.getAllStackTraces().keySet()) {
      if (thread.getName().equals(name)) return true;
    }
    return false;
  }
}
