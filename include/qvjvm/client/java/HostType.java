package qvjvm;

import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.lang.reflect.Proxy;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * Interfaces, and which of their methods are which of the host's functions. A function is told by its shape: the letters
 * of its parameters' types as in signatures, with L for every class, then its result's; and by these classes.
 */
final class HostType {
  private static final String LETTERS = "ZBCSIJFDV";
  private static final Class<?>[] PRIMITIVES = {
    boolean.class, byte.class, char.class, short.class, int.class, long.class, float.class, double.class, void.class
  };
  private static final Class<?>[] BOXES = {
    Boolean.class, Byte.class, Character.class, Short.class, Integer.class, Long.class, Float.class, Double.class,
    Void.class
  };

  private final Class<?>[] interfaces;
  private final ClassLoader loader;
  private final List<Method> inherited = new ArrayList<>();
  /** A method, and at the same place the number of its function. */
  private final List<Method> bound = new ArrayList<>();
  private final List<Integer> boundTo = new ArrayList<>();
  private final Method[] methods;
  /** The same method as the proxy hands it over, once it did: another object, but always that one. */
  private final Method[] seen;
  private final int[] slots;
  private final char[][] shapes;
  /** By function: the classes that its arguments must have because Java's method promises less. */
  private final Class<?>[][] checks;

  private HostType(Class<?>[] interfaces, String[] names, String[] shapes, Class<?>[] types) {
    this.interfaces = interfaces;
    loader = loaderOf(interfaces);
    // Java knows more reasons than we why there can be no such object.
    Proxy.getProxyClass(loader, interfaces);
    for (Class<?> each : interfaces) inherited.addAll(Arrays.asList(each.getMethods()));
    this.shapes = new char[names.length][];
    checks = new Class<?>[names.length][];
    for (int slot = 0, at = 0; slot < names.length; at += this.shapes[slot++].length) {
      this.shapes[slot] = shapes[slot].toCharArray();
      bind(slot, names[slot], Arrays.copyOfRange(types, at, at + this.shapes[slot].length));
    }
    for (Method method : inherited) {
      if (needsFunction(method) && !isBound(method)) throw refuse("nothing implements " + method);
    }
    methods = bound.toArray(new Method[0]);
    seen = new Method[methods.length];
    slots = new int[methods.length];
    for (int i = 0; i < slots.length; ++i) slots[i] = boundTo.get(i);
  }

  /** A type, or the text why there is none. A name of null is the one method that needs a function. */
  static Object make(Class<?>[] interfaces, String[] names, String[] shapes, Class<?>[] types) {
    try {
      return new HostType(interfaces, names, shapes, types);
    } catch (IllegalArgumentException e) {
      return e.getMessage();
    }
  }

  /** A new object. The host's part stays the host's when this fails. */
  Object create(long target) {
    final HostObject object = new HostObject(this, target);
    final Object proxy = Proxy.newProxyInstance(loader, interfaces, object);
    HostWatcher.add(object.part);
    return proxy;
  }

  // ---- which method is which function ----

  private static IllegalArgumentException refuse(String why) {
    return new IllegalArgumentException(why);
  }

  /** The loader of one of them that sees them all. */
  private static ClassLoader loaderOf(Class<?>[] interfaces) {
    for (Class<?> candidate : interfaces) {
      boolean all = true;
      for (Class<?> each : interfaces) all &= sees(candidate.getClassLoader(), each);
      if (all) return candidate.getClassLoader();
    }
    throw refuse("no class loader sees all of " + Arrays.toString(interfaces));
  }

  private static boolean sees(ClassLoader loader, Class<?> type) {
    try {
      return Class.forName(type.getName(), false, loader) == type;
    } catch (ClassNotFoundException | LinkageError e) {
      return false;
    }
  }

  /** Whether a method has no body, and Object no method that answers it. */
  private static boolean needsFunction(Method method) {
    if (!Modifier.isAbstract(method.getModifiers())) return false;
    for (Method own : Object.class.getMethods()) {
      if (isSameCall(own, method)) return false;
    }
    return true;
  }

  private static boolean isSameCall(Method left, Method right) {
    return left.getName().equals(right.getName())
        && Arrays.equals(left.getParameterTypes(), right.getParameterTypes());
  }

  private boolean isBound(Method method) {
    for (Method each : bound) {
      if (isSameCall(each, method)) return true;
    }
    return false;
  }

  private void bind(int slot, String name, Class<?>[] types) {
    final List<Method> candidates = candidates(name);
    final String told = "the host's function " + tell(shapes[slot], types);
    Method best = null;
    int fit = 0;
    for (Method method : candidates) {
      final int its = fit(method, shapes[slot], types);
      if (its == fit && fit > 0 && !isSameCall(best, method)) throw refuse(told + " fits " + best + " and " + method);
      if (its > fit) {
        best = method;
        fit = its;
      }
    }
    if (best == null) throw refuse(told + " does not fit " + candidates);
    if (isBound(best)) throw refuse("two functions implement " + best);
    for (Method method : candidates) {
      if (!isSameCall(best, method)) continue;
      if (fit(method, shapes[slot], types) == 0) throw refuse(told + " does not fit " + method);
      bound.add(method);
      boundTo.add(slot);
      demand(slot, method.getParameterTypes(), types);
    }
  }

  private List<Method> candidates(String name) {
    final List<Method> all = new ArrayList<>();
    for (Method method : inherited) {
      if (Modifier.isStatic(method.getModifiers())) continue;
      if (name == null ? needsFunction(method) : method.getName().equals(name)) all.add(method);
    }
    for (Method own : Object.class.getMethods()) {
      if (own.getName().equals(name) && !Modifier.isFinal(own.getModifiers())) all.add(own);
    }
    if (all.isEmpty()) {
      final String wanted = name == null ? "to implement" : name;
      throw refuse(Arrays.toString(interfaces) + " has no method " + wanted);
    }
    for (Method method : all) {
      if (name == null && !isSameCall(method, all.get(0))) {
        throw refuse("one function is given for " + all.get(0) + " and " + method);
      }
    }
    return all;
  }

  /** 2 when the types are the same, 1 when values can pass, 0 when they cannot. */
  private static int fit(Method method, char[] shape, Class<?>[] types) {
    final Class<?>[] declared = method.getParameterTypes();
    if (declared.length != shape.length - 1) return 0;
    int worst = fit(method.getReturnType(), shape[declared.length], types[declared.length]);
    for (int i = 0; i < declared.length; ++i) worst = Math.min(worst, fit(declared[i], shape[i], types[i]));
    return worst;
  }

  private static int fit(Class<?> declared, char letter, Class<?> type) {
    if (letter != 'L') {
      if (declared.isPrimitive()) return PRIMITIVES[at(letter)] == declared ? 2 : 0;
      return letter != 'V' && declared.isAssignableFrom(BOXES[at(letter)]) ? 1 : 0;
    }
    if (declared == type) return 2;
    if (declared.isPrimitive()) return 0;
    final boolean related = declared.isAssignableFrom(type) || type.isAssignableFrom(declared);
    return related || declared.isInterface() || type.isInterface() ? 1 : 0;
  }

  private static int at(char letter) {
    return LETTERS.indexOf(letter);
  }

  /** What each argument must be asked for, since the method promises less than the function wants. */
  private void demand(int slot, Class<?>[] declared, Class<?>[] types) {
    for (int i = 0; i < declared.length; ++i) {
      if (shapes[slot][i] != 'L' || types[i].isAssignableFrom(declared[i])) continue;
      if (checks[slot] == null) checks[slot] = new Class<?>[declared.length];
      checks[slot][i] = types[i];
    }
  }

  private static String tell(char[] shape, Class<?>[] types) {
    final StringBuilder text = new StringBuilder("(");
    for (int i = 0; i < shape.length; ++i) {
      if (i == shape.length - 1) {
        text.append(") -> ");
      } else if (i > 0) {
        text.append(", ");
      }
      text.append((shape[i] == 'L' ? types[i] : PRIMITIVES[at(shape[i])]).getTypeName());
    }
    return text.toString();
  }

  // ---- calls ----

  // Some of the runtimes that hosts use interpret all of this, so its steps are few.
  Object invoke(HostPart part, Object proxy, Method method, Object[] arguments) {
    final Method[] seen = this.seen;
    for (int i = 0; i < seen.length; ++i) {
      if (seen[i] == method) return call(part, slots[i], arguments);
    }
    for (int i = 0; i < methods.length; ++i) {
      if (!methods[i].equals(method)) continue;
      seen[i] = method;
      return call(part, slots[i], arguments);
    }
    if (method.getDeclaringClass() == Object.class) return answer(proxy, method.getName(), arguments);
    return runDefault(part, proxy, method, arguments);
  }

  private Object call(HostPart part, int slot, Object[] arguments) {
    final char[] shape = shapes[slot];
    final int count = shape.length - 1;
    if (checks[slot] != null) check(checks[slot], arguments);
    Object a = null;
    Object b = null;
    Object c = null;
    long x = 0;
    long y = 0;
    long z = 0;
    if (count > 0) {
      a = arguments[0];
      if (shape[0] != 'L') x = bits(shape[0], a);
      if (count > 1) {
        b = arguments[1];
        if (shape[1] != 'L') y = bits(shape[1], b);
        if (count > 2) {
          c = arguments[2];
          if (shape[2] != 'L') z = bits(shape[2], c);
        }
      }
    }
    final char result = shape[count];
    final long target = part.enter();
    try {
      if (result == 'L') return HostPart.callObject(target, slot, arguments, a, b, c, x, y, z);
      final long bits = HostPart.callBits(target, slot, arguments, a, b, c, x, y, z);
      return result == 'V' ? null : box(result, bits);
    } finally {
      part.leave();
    }
  }

  private static void check(Class<?>[] wanted, Object[] arguments) {
    for (int i = 0; i < wanted.length; ++i) {
      if (wanted[i] != null) wanted[i].cast(arguments[i]);
    }
  }

  /** Also for the host: the value in a box, as its bits. */
  static long bits(char letter, Object value) {
    switch (letter) {
      case 'Z':
        return (Boolean) value ? 1 : 0;
      case 'B':
        return (Byte) value;
      case 'C':
        return (Character) value;
      case 'S':
        return (Short) value;
      case 'I':
        return (Integer) value;
      case 'J':
        return (Long) value;
      case 'F':
        return Float.floatToRawIntBits((Float) value);
      default:
        return Double.doubleToRawLongBits((Double) value);
    }
  }

  /** Also for the host: such a value in its box. */
  static Object box(char letter, long bits) {
    switch (letter) {
      case 'Z':
        return (byte) bits != 0;
      case 'B':
        return (byte) bits;
      case 'C':
        return (char) bits;
      case 'S':
        return (short) bits;
      case 'I':
        return (int) bits;
      case 'J':
        return bits;
      case 'F':
        return Float.intBitsToFloat((int) bits);
      default:
        return Double.longBitsToDouble(bits);
    }
  }

  private static Object answer(Object proxy, String name, Object[] arguments) {
    if (name.equals("equals")) return proxy == arguments[0];
    final int hash = System.identityHashCode(proxy);
    return name.equals("hashCode") ? (Object) hash : proxy.getClass().getName() + "@" + Integer.toHexString(hash);
  }

  /** Not by reflection: that needs another way in each version of Java, and an interface that everybody may see. */
  private Object runDefault(HostPart part, Object proxy, Method method, Object[] arguments) {
    final Class<?>[] types = method.getParameterTypes();
    final StringBuilder shape = new StringBuilder();
    for (Class<?> type : types) shape.append(letterOf(type));
    shape.append(letterOf(method.getReturnType()));
    final long target = part.enter();
    try {
      return HostPart.callDefault(target, proxy, method, method.getDeclaringClass(), shape.toString(), arguments);
    } finally {
      part.leave();
    }
  }

  private static char letterOf(Class<?> type) {
    final int at = Arrays.asList(PRIMITIVES).indexOf(type);
    return at < 0 ? 'L' : LETTERS.charAt(at);
  }
}
