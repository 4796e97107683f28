package qvtest;

/** Java strings that a host's null-terminated text cannot make, and questions about strings that it made. */
public final class Texts {
  private Texts() {}

  public static String withEmbeddedNull() {
    return "before\0after";
  }

  public static String ofLength(String pattern, String length) {
    final StringBuilder text = new StringBuilder();
    final int wanted = Integer.parseInt(length);
    while (text.length() < wanted) text.append(pattern);
    text.setLength(wanted);
    return text.toString();
  }

  public static boolean isOfLength(String text, String pattern, String length) {
    return text.equals(ofLength(pattern, length));
  }

  /** The UTF-16 units in hexadecimal, four digits each. */
  public static String unitsOf(String text) {
    final StringBuilder units = new StringBuilder();
    for (int i = 0; i < text.length(); ++i) units.append(String.format("%04X", (int) text.charAt(i)));
    return units.toString();
  }
}
