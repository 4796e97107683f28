package outside;

/** Of an archive that only the service's class path holds. */
public class Base {
  public String name() {
    return "base";
  }
}
