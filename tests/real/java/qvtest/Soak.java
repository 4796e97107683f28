package qvtest;

import java.lang.management.ManagementFactory;
import java.lang.ref.PhantomReference;
import java.lang.ref.Reference;
import java.lang.ref.ReferenceQueue;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.management.ObjectName;

/** What a JVM keeps after long work: objects that somebody still refers to, global references, threads. */
public class Soak {
  private static final ReferenceQueue<Object> gone = new ReferenceQueue<>();
  private static final Set<Reference<Object>> kept = ConcurrentHashMap.newKeySet();

  /** An object with a number, which is counted from the beginning. */
  public static final class Tracked {
    private final int id;
    private int value;

    public Tracked(int id) {
      this.id = id;
      track(this);
    }

    public int id() {
      return id;
    }

    public void put(int newValue) {
      value = newValue;
    }

    public int get() {
      return value;
    }
  }

  /** From now on the object is counted until nothing refers to it. */
  public static void track(Object object) {
    kept.add(new PhantomReference<>(object, gone));
    forgetGone();
  }

  private static void forgetGone() {
    for (Reference<?> reference = gone.poll(); reference != null; reference = gone.poll()) kept.remove(reference);
  }

  /** Counted objects that are there after collections. */
  public int keptObjects() throws InterruptedException {
    for (int round = 0; round < 20; ++round) {
      System.gc();
      Thread.sleep(20);
      forgetGone();
      if (kept.isEmpty()) break;
    }
    return kept.size();
  }

  /** Global references of native code, the JVM's own among them; -1 when this JVM does not tell. */
  public int globalReferences() throws Exception {
    final Object print =
        ManagementFactory.getPlatformMBeanServer()
            .invoke(
                new ObjectName("com.sun.management:type=DiagnosticCommand"),
                "threadPrint",
                new Object[] {new String[0]},
                new String[] {String[].class.getName()});
    final Matcher line = Pattern.compile("JNI global ref\\w*: (\\d+)").matcher((String) print);
    return line.find() ? Integer.parseInt(line.group(1)) : -1;
  }
}
