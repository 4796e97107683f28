package qvtest;

import java.util.concurrent.locks.LockSupport;

/** The JVM's view of the threads that call it, and work that keeps threads busy. */
public class Threads {
  private static volatile long sink;

  public boolean hasContextLoader() {
    return Thread.currentThread().getContextClassLoader() != null;
  }

  public static void workForEver() {
    for (long i = 0; ; ++i) sink += Long.toString(i).hashCode();
  }

  public static void startWorkers() {
    for (int i = 0; i < 2; ++i) new Thread(Threads::workForEver, "busy worker " + i).start();
  }

  public static void startWaiters() {
    final Runnable idle = () -> {
      while (true) LockSupport.park();
    };
    for (int i = 0; i < 2; ++i) new Thread(idle, "idle worker " + i).start();
  }

  /** What the JVM prints for its own problems stays; what stack traces print goes nowhere. */
  public static void dropErrorOutput() {
    System.setErr(new java.io.PrintStream(java.io.OutputStream.nullOutputStream()));
  }
}
