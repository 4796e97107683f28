package qvjvm;

import java.lang.ref.Reference;
import java.lang.ref.ReferenceQueue;
import java.util.ArrayList;
import java.util.List;

/**
 * Keeps the host's parts that live, and waits for Java to forget their objects. There is a thread only while a part
 * lives, and a little longer, for hosts that make and revoke one after the other.
 */
final class HostWatcher extends Thread {
  static final ReferenceQueue<Object> FORGOTTEN = new ReferenceQueue<>();

  private static final int LINGER_MS = 1000;
  // The class is the lock of all that follows.
  private static HostPart first;
  private static HostWatcher watcher;
  /** The thread waits without a limit, because it saw parts that live. */
  private static boolean endless;
  private static boolean closed;

  private HostWatcher() {
    super(rootGroup(), "qvjvm host objects");
    setDaemon(true);
    setContextClassLoader(null);
  }

  private static ThreadGroup rootGroup() {
    ThreadGroup group = Thread.currentThread().getThreadGroup();
    while (group.getParent() != null) group = group.getParent();
    return group;
  }

  /** From here on Java ends the part; when this fails, it stays the host's. */
  static synchronized void add(HostPart part) {
    if (closed) throw new IllegalStateException("the host closes its objects");
    if (watcher == null) {
      final HostWatcher made = new HostWatcher();
      made.start();
      watcher = made;
    }
    part.after = first;
    if (first != null) first.before = part;
    first = part;
    part.alive = true;
  }

  /** A part has ended. */
  static synchronized void remove(HostPart part) {
    if (part.before == null) {
      first = part.after;
    } else {
      part.before.after = part.after;
    }
    if (part.after != null) part.after.before = part.before;
    part.alive = false;
    if (first == null && endless) wake();
    HostWatcher.class.notifyAll();
  }

  private static void wake() {
    endless = false;
    watcher.interrupt();
  }

  @Override
  public void run() {
    for (boolean lingered = false; !isOver(lingered); ) {
      final boolean idle = !staysAwake();
      Reference<?> forgotten = null;
      try {
        forgotten = idle ? FORGOTTEN.remove(LINGER_MS) : FORGOTTEN.remove();
        lingered = forgotten == null;
      } catch (InterruptedException e) {
        lingered = false; // woken: what is true now is asked above
      }
      Thread.interrupted(); // no wake is for the host's destructors
      if (forgotten != null) ((HostPart) forgotten).revoke();
    }
  }

  private static synchronized boolean staysAwake() {
    endless = first != null;
    return endless;
  }

  private static synchronized boolean isOver(boolean lingered) {
    if (first != null || !(lingered || closed)) return false;
    watcher = null;
    return true;
  }

  /** Whether a part that was revoked, or with null every part, ends within that time. */
  static synchronized boolean await(HostPart part, long milliseconds) throws InterruptedException {
    final long end = System.nanoTime() + milliseconds * 1000000;
    while (part != null ? part.alive : first != null) {
      final long left = (end - System.nanoTime() + 999999) / 1000000;
      if (left <= 0) return false;
      HostWatcher.class.wait(left);
    }
    return true;
  }

  private static synchronized List<HostPart> closeDoor() {
    closed = true;
    final List<HostPart> all = new ArrayList<>();
    for (HostPart part = first; part != null; part = part.after) all.add(part);
    return all;
  }

  /** Takes all objects back for ever. Whether no call and no thread is in the host's code within that time. */
  static boolean close(long milliseconds) throws InterruptedException {
    final long end = System.nanoTime() + milliseconds * 1000000;
    for (HostPart part : closeDoor()) part.revoke();
    if (!await(null, milliseconds)) return false;
    final Thread last;
    synchronized (HostWatcher.class) {
      last = watcher;
      if (last != null) wake();
    }
    if (last == null) return true;
    last.join(Math.max(1, (end - System.nanoTime()) / 1000000));
    return !last.isAlive();
  }
}
