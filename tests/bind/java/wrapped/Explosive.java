package wrapped;

/** Whoever initializes it ends with it; its constant can be read all the same. */
public class Explosive {
    public static final int CONSTANT = 12;
    public static final int NO_CONSTANT = explode();

    private static int explode() {
        Runtime.getRuntime().halt(86);
        return 0;
    }
}
