package wrapped.delete;

/** Named as one of Java's own, in a package that C++ has another use for. */
public class Class {
    public wrapped.Shown shown() {
        return new wrapped.Shown(3);
    }
}
