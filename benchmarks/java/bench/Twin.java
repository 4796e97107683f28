package bench;

import java.io.IOException;
import java.io.InputStream;
import java.lang.reflect.InvocationHandler;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;
import java.util.Comparator;
import java.util.function.IntUnaryOperator;

/** What a host would write by hand to be called by Java, and what calls both. */
public final class Twin implements InvocationHandler {
  private final long target;

  private Twin(long target) {
    this.target = target;
  }

  public static Object make(Class<?> type, long target) {
    return Proxy.newProxyInstance(type.getClassLoader(), new Class<?>[] {type}, new Twin(target));
  }

  @Override
  public Object invoke(Object proxy, Method method, Object[] arguments) {
    if (method.getDeclaringClass() != Object.class) return call(target, arguments);
    switch (method.getName()) {
      case "equals":
        return proxy == arguments[0];
      case "hashCode":
        return System.identityHashCode(proxy);
      default:
        return "twin";
    }
  }

  private static native Object call(long target, Object[] arguments);

  public static native int byHand(int value);

  public static native int byClient(int value);

  /** A stream by a native method, without anything else. */
  public static final class Stream extends InputStream {
    @Override
    public int read() {
      throw new UnsupportedOperationException();
    }

    @Override
    public native int read(byte[] into, int first, int count);
  }

  public static long run(Runnable work, int times) {
    for (int i = 0; i < times; ++i) work.run();
    return times;
  }

  public static long apply(IntUnaryOperator function, int times) {
    long sum = 0;
    for (int i = 0; i < times; ++i) sum += function.applyAsInt(i);
    return sum;
  }

  public static long compare(Comparator<Object> order, Object left, Object right, int times) {
    long sum = 0;
    for (int i = 0; i < times; ++i) sum += order.compare(left, right);
    return sum;
  }

  public static long callByHand(int times) {
    long sum = 0;
    for (int i = 0; i < times; ++i) sum += byHand(i);
    return sum;
  }

  public static long callByClient(int times) {
    long sum = 0;
    for (int i = 0; i < times; ++i) sum += byClient(i);
    return sum;
  }

  private static final byte[] BLOCK = new byte[64 << 10];

  public static long read(InputStream from, int times) throws IOException {
    long sum = 0;
    for (int i = 0; i < times; ++i) sum += from.read(BLOCK, 0, BLOCK.length);
    return sum;
  }
}
