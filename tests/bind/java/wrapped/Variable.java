package wrapped;

public final class Variable {
    private Variable() {}

    public static String join(String... parts) {
        return parts.length + ":" + String.join(",", parts);
    }

    public static String join(String only) {
        return "only " + only;
    }

    public static int sum(int... numbers) {
        int sum = 0;
        for (int number : numbers) sum += number;
        return sum;
    }

    public static String form(String pattern, Object... values) {
        return pattern + values.length;
    }

    public static String form(int number, String pattern, Object... values) {
        return number + pattern + values.length;
    }
}
