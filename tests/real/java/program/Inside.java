package program;

/** On the class path of the program that owns the JVM. */
public class Inside {
  public static Object where() {
    return "inside";
  }
}
