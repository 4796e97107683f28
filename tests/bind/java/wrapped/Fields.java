package wrapped;

import java.util.List;

public class Fields {
    public static boolean initialized;

    public static final boolean YES = true;
    public static final byte SMALL = -128;
    public static final char LETTER = '\u00e4';
    public static final short SHORT = 30000;
    public static final int LEAST = Integer.MIN_VALUE;
    public static final long LEAST_LONG = Long.MIN_VALUE;
    public static final float HALF = 0.5F;
    public static final double NOT = Double.NaN;
    public static final double ENDLESS = Double.NEGATIVE_INFINITY;
    public static final double TENTH = 0.1;
    public static final String TEXT = "Gr\u00fc\u00dfe \"x\" \\ ?? 1\u00001";
    public static final int ERROR = 3;
    public static final int name = 4;
    public static final Object NO_CONSTANT = new Object();

    public int number = 5;
    public String text = "t";
    public Named named;
    public List<String> list;
    public final int fixed = number + 1;

    public int name() {
        return 9;
    }
}
