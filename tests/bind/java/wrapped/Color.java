package wrapped;

public enum Color {
    RED,
    GREEN {
        @Override
        public String mood() {
            return "calm";
        }
    },
    DELETE;

    public String mood() {
        return "warm";
    }
}
