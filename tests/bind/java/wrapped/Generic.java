package wrapped;

import java.io.IOException;
import java.util.List;
import java.util.Map;

public class Generic<T extends Comparable<? super T>, U> {
    public <V extends Number & Comparable<V>> Map<? super T, List<V[]>> mix(T value, List<? extends U> list, V number)
            throws IOException {
        return null;
    }

    public T first(List<T> values) {
        return values.get(0);
    }

    public int[][] table() {
        return new int[][] {{1, 2}, {3}};
    }

    public String[] words() {
        return new String[] {"a", null, "c"};
    }

    public Integer box(boolean present) {
        return present ? 42 : null;
    }

    public Class<?> type() {
        return Generic.class;
    }
}
