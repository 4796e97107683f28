package qvjvm;

import java.io.IOException;
import java.io.InputStream;

/** A stream that reads what the host gives. */
final class HostInput extends InputStream {
  // The host's functions, in their order.
  private static final int READ = 0;
  private static final int AVAILABLE = 1;
  private static final int CLOSE = 2;

  final HostPart part;

  HostInput(long target) {
    part = new HostPart(this, target);
    HostWatcher.add(part);
  }

  @Override
  public int read() throws IOException {
    final byte[] one = new byte[1];
    return read(one, 0, 1) < 0 ? -1 : one[0] & 0xff;
  }

  @Override
  public int read(byte[] into, int first, int count) throws IOException {
    HostPart.checkRange(into, first, count);
    return count == 0 ? 0 : (int) part.callStream(READ, into, first, count);
  }

  @Override
  public int available() throws IOException {
    return (int) part.callStream(AVAILABLE, null, 0, 0);
  }

  @Override
  public void close() throws IOException {
    part.closeStream(CLOSE);
  }
}
