package wrapped;

/** Has the name that a nested class would get. */
public class Outer_Bound {
    public String who() {
        return "top";
    }
}
