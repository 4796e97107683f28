package wrapped;

import java.util.Collection;
import java.util.List;

public class Overloads {
    public String one(boolean value) {
        return "boolean";
    }

    public String one(char value) {
        return "char";
    }

    public String one(byte value) {
        return "byte";
    }

    public String one(int value) {
        return "int";
    }

    public String one(long value) {
        return "long";
    }

    public String one(double value) {
        return "double";
    }

    public String one(Object value) {
        return "Object";
    }

    public String one(CharSequence value) {
        return "CharSequence";
    }

    public String one(String value) {
        return "String";
    }

    public String one(Collection<?> value) {
        return "Collection";
    }

    public String one(List<?> value) {
        return "List";
    }

    public String one(int[] value) {
        return "int[]";
    }

    public String one(Object[] value) {
        return "Object[]";
    }

    public String two(Object first, String second) {
        return "Object, String";
    }

    public String two(String first, Object second) {
        return "String, Object";
    }

    public String base(Object value) {
        return "base Object";
    }

    public String same() {
        return "instance";
    }

    public static String same(Overloads value) {
        return "static";
    }
}
