package wrapped;

public class Names {
    public int delete() {
        return 1;
    }

    public int and(int and) {
        return and;
    }

    public int get() {
        return 2;
    }

    public int call() {
        return 3;
    }

    public int as() {
        return 4;
    }

    public int with$dollar() {
        return 5;
    }

    public int two__lines() {
        return 6;
    }

    public int Names() {
        return 7;
    }

    public int TRUE() {
        return 8;
    }

    public int where(int where, int This, int values) {
        return where + This + values;
    }

    public static int min(int first, int second) {
        return Math.min(first, second);
    }
}
