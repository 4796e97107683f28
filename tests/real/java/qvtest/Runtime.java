package qvtest;

import java.io.ByteArrayOutputStream;
import java.net.ConnectException;
import java.net.InetSocketAddress;
import java.net.Socket;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.zip.GZIPOutputStream;

/** Uses what the runtime keeps in native libraries of its own: compression, files, sockets. */
public final class Runtime {
  private Runtime() {}

  public static String useNativeLibraries() throws Exception {
    final ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try (GZIPOutputStream zip = new GZIPOutputStream(bytes)) {
      zip.write(new byte[1000]);
    }
    // A name of its own: random ones need network functions that some emulators of Windows lack.
    final Path file = Path.of(System.getProperty("java.io.tmpdir"), "qvtest-" + ProcessHandle.current().pid());
    Files.write(file, bytes.toByteArray());
    final boolean whole = Files.size(file) == bytes.size();
    Files.delete(file);
    return (bytes.size() < 100 ? "zip " : "") + (whole ? "nio " : "") + (refused() ? "net" : "");
  }

  /** Nobody listens on this port, so the answer needs no network. */
  private static boolean refused() throws Exception {
    try (Socket socket = new Socket()) {
      socket.connect(new InetSocketAddress("127.0.0.1", 1), 20000);
      return false;
    } catch (ConnectException e) {
      return true;
    }
  }
}
