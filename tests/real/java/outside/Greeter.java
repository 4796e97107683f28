package outside;

/** Of the same archive: needs another class of it. */
public class Greeter extends Base {
  public static int seven = 7;

  @Override
  public String name() {
    return super.name() + " of greeter";
  }

  public static Object greet(String name) {
    return "Hello " + name;
  }

  public static String greetBy(Greeting greeting, String name) {
    return greeting.greet(name);
  }
}
