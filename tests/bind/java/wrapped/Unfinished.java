package wrapped;

/** Declares nothing of what it inherits from its interface. */
public abstract class Unfinished implements Named {
    public static Unfinished make(String name) {
        return new Unfinished() {
            @Override
            public String name() {
                return name;
            }
        };
    }
}
