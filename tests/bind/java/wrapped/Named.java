package wrapped;

public interface Named {
    int LIMIT = 7;

    String name();

    default String greeting() {
        return "Hello, " + name();
    }

    static String prefix() {
        return "Hello";
    }
}
