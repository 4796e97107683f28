package qvtest;

import java.util.ArrayList;
import java.util.List;

/** Makes a JVM that reports its exceptions print: one report with a text of its own for each. */
public class Noise {
  private static final Object KEPT = new Object();

  /** Throws and catches exceptions with the texts "noise NAME 0", "noise NAME 1", ... */
  public static void make(String name, int count) {
    for (int i = 0; i < count; ++i) {
      try {
        if (KEPT != null) throw new IllegalStateException("noise " + name + " " + i);
      } catch (IllegalStateException e) {
        // That it was thrown is what counts.
      }
    }
  }

  /** The same from many threads at once, whose names are their numbers; returns when they have ended. */
  public static void makeFromThreads(int threads, int countEach) throws InterruptedException {
    final List<Thread> all = new ArrayList<>();
    for (int i = 0; i < threads; ++i) {
      final String name = Integer.toString(i);
      all.add(new Thread(() -> make(name, countEach)));
    }
    for (Thread thread : all) thread.start();
    for (Thread thread : all) thread.join();
  }
}
