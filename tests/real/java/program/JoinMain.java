package program;

import java.util.Arrays;

/** A Java program with a native library that uses the service: args[0] is the library, the rest goes to its tests. */
public final class JoinMain {
  private JoinMain() {}

  private static native int runTests(String[] arguments);

  public static void main(String[] args) {
    System.load(args[0]);
    System.exit(runTests(Arrays.copyOfRange(args, 1, args.length)));
  }
}
