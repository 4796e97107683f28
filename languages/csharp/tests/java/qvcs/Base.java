package qvcs;

/** Above Sample: its private method has the name of a public one of Sample's. */
public class Base {
    public String inherited = "from above";

    private String secret() { return "base"; }

    public String name() { return secret(); }

    public static class Broken {
        static {
            if (true) throw new IllegalStateException("cannot begin");
        }

        public static void touch() {
        }
    }
}
