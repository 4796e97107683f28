package qvjvm;

import java.io.IOException;
import java.lang.ref.PhantomReference;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * The host's part of a Java object: a number that only the host understands. It ends once: when Java has forgotten the
 * object or the host has taken it back, and no call is inside any more.
 */
final class HostPart extends PhantomReference<Object> {
  /** What the count of calls begins at when no further ones may come in. */
  private static final int REVOKED = Integer.MIN_VALUE;
  /** The same when the host's part has ended; calls that are turned away count from here and stay below zero. */
  private static final int ENDED = REVOKED / 2;

  private final AtomicInteger inside = new AtomicInteger();
  private final long target;
  /** Neighbours in the list of those that live, which keeps this reference itself; HostWatcher's. */
  HostPart before;
  HostPart after;
  boolean alive;

  /** The host's part is only taken over by HostWatcher.add. */
  HostPart(Object of, long target) {
    super(of, HostWatcher.FORGOTTEN);
    this.target = target;
  }

  /** That of an object of the host's. */
  static HostPart of(Object object) {
    if (object instanceof HostInput) return ((HostInput) object).part;
    if (object instanceof HostOutput) return ((HostOutput) object).part;
    return ((HostObject) Proxy.getInvocationHandler(object)).part;
  }

  /** Begins a call, which leave must end. */
  long enter() {
    if (inside.incrementAndGet() < 0) {
      leave();
      throw new IllegalStateException("the host has taken this object back");
    }
    return target;
  }

  /** Ends a call. */
  void leave() {
    if (inside.decrementAndGet() == REVOKED) end();
  }

  /** Lets no further call in. The host's part ends here, or with the last call that is inside. */
  void revoke() {
    for (int calls = inside.get(); calls >= 0; calls = inside.get()) {
      if (inside.compareAndSet(calls, calls + REVOKED)) {
        if (calls == 0) end();
        return;
      }
    }
  }

  private void end() {
    // A call that is being turned away may have come between; it comes here after us.
    if (!inside.compareAndSet(REVOKED, ENDED)) return;
    release(target);
    HostWatcher.remove(this);
  }

  // ---- streams ----

  static void checkRange(byte[] bytes, int first, int count) {
    if (first < 0 || count < 0 || count > bytes.length - first) throw new IndexOutOfBoundsException();
  }

  /** Calls a function of a stream; one that has ended, and what the host throws, is an IOException. */
  long callStream(int slot, byte[] bytes, int first, int count) throws IOException {
    final long target;
    try {
      target = enter();
    } catch (IllegalStateException e) {
      throw new IOException("the stream is closed", e);
    }
    try {
      return callBits(target, slot, null, bytes, null, null, 0, first, count);
    } catch (HostException e) {
      throw new IOException(e.getMessage(), e);
    } finally {
      leave();
    }
  }

  /** The same for the last call, which ends the host's part. Once. */
  void closeStream(int slot) throws IOException {
    if (inside.get() < 0) return;
    try {
      callStream(slot, null, 0, 0);
    } finally {
      revoke();
    }
  }

  /** Ends the host's part. */
  private static native void release(long target);

  /** Calls a function of the host that gives an object. The first three arguments are told apart: objects, or bits. */
  static native Object callObject(
      long target, int slot, Object[] all, Object a, Object b, Object c, long x, long y, long z);

  /** The same for a function that gives a primitive value, as its bits, or nothing. */
  static native long callBits(
      long target, int slot, Object[] all, Object a, Object b, Object c, long x, long y, long z);

  /** Runs a default method. The shape has the letters of its parameters and of its result. */
  static native Object callDefault(long target, Object on, Method method, Class<?> in, String shape, Object[] all);
}
