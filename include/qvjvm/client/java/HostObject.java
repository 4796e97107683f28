package qvjvm;

import java.lang.reflect.InvocationHandler;
import java.lang.reflect.Method;

/** What answers the calls of one object that the host implements. */
final class HostObject implements InvocationHandler {
  private final HostType type;
  final HostPart part;

  HostObject(HostType type, long target) {
    this.type = type;
    part = new HostPart(this, target);
  }

  @Override
  public Object invoke(Object proxy, Method method, Object[] arguments) {
    return type.invoke(part, proxy, method, arguments);
  }
}
