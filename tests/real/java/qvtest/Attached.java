package qvtest;

import java.util.concurrent.atomic.AtomicInteger;

/** Threads as Java sees them: those of the host that are attached, and Java's own that call the host. */
public class Attached {
  /** Returns when the thread has ended, which for a host's thread means: when it is detached. */
  public static void awaitEnd(Thread thread) throws InterruptedException {
    thread.join();
  }

  private static final AtomicInteger handled = new AtomicInteger();

  /** From now on the end of a thread with an exception calls the service, twice. */
  public static void handleUncaught() {
    Thread.setDefaultUncaughtExceptionHandler(
        (thread, thrown) -> {
          if (callService(1) && callService(2)) handled.incrementAndGet();
        });
  }

  /** How often that went well. */
  public static int handled() {
    return handled.get();
  }

  /** The host's: calls the service on the thread that it is called on; true when all went well. */
  private static native boolean callService(int number);

  /** Threads of Java's own that call the service and then go on in Java; how many of them did both. */
  public int runJavaThreads(int count) throws InterruptedException {
    final AtomicInteger right = new AtomicInteger();
    final Thread[] threads = new Thread[count];
    for (int i = 0; i < count; ++i) {
      final int number = i;
      threads[i] =
          new Thread(
              () -> {
                final boolean called = callService(number);
                final String text = Thread.currentThread().getName() + " " + Integer.toString(number * 3);
                if (called && text.equals("java " + number + " " + number * 3)) right.incrementAndGet();
              },
              "java " + i);
      threads[i].start();
    }
    for (final Thread thread : threads) thread.join();
    return right.get();
  }
}
