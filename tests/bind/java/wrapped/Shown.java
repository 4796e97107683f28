package wrapped;

public class Shown extends Hidden implements Comparable<Shown>, Named {
    private final int value;

    public Shown(int value) {
        this.value = value;
    }

    @Override
    public Shown self() {
        return this;
    }

    @Override
    public int compareTo(Shown other) {
        return Integer.compare(value, other.value);
    }

    @Override
    public String name() {
        return "shown " + value;
    }
}
