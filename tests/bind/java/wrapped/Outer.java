package wrapped;

public class Outer {
    public static class Inner {
        public String who() {
            return "inner";
        }

        public static class Deepest {
            public String who() {
                return "deepest";
            }
        }
    }

    public class Bound {
        public Outer outer() {
            return Outer.this;
        }
    }

    /** Its alias would be a method's name. */
    public static class taken {}

    public int taken() {
        return 1;
    }

    private static class Secret {}
}
