/**
 * A Java program with a native library that uses the service. The service joins the JVM that runs this program, and
 * brings the formatter from its own class path: this program has none of it.
 *
 * <p>Arguments: the native library, the XSL-FO document, the PDF. The exit code is that of the library.
 */
public final class ReportHost {
  private ReportHost() {}

  private static native int makePdf(String input, String output);

  private static boolean hasFormatter() {
    try {
      Class.forName("org.apache.fop.apps.Driver");
      return true;
    } catch (ClassNotFoundException expected) {
      return false;
    }
  }

  public static void main(String[] args) {
    System.out.println("java.version: " + System.getProperty("java.version"));
    System.out.println("formatter on this program's class path: " + (hasFormatter() ? "yes" : "no"));
    System.load(args[0]);
    System.exit(makePdf(args[1], args[2]));
  }
}
