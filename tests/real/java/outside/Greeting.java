package outside;

/** What a host may implement. */
public interface Greeting {
  String greet(String name);
}
