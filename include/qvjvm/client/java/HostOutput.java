package qvjvm;

import java.io.IOException;
import java.io.OutputStream;

/** A stream that writes to the host. */
final class HostOutput extends OutputStream {
  // The host's functions, in their order.
  private static final int WRITE = 0;
  private static final int FLUSH = 1;
  private static final int CLOSE = 2;

  final HostPart part;

  HostOutput(long target) {
    part = new HostPart(this, target);
    HostWatcher.add(part);
  }

  @Override
  public void write(int value) throws IOException {
    write(new byte[] {(byte) value}, 0, 1);
  }

  @Override
  public void write(byte[] from, int first, int count) throws IOException {
    HostPart.checkRange(from, first, count);
    if (count > 0) part.callStream(WRITE, from, first, count);
  }

  @Override
  public void flush() throws IOException {
    part.callStream(FLUSH, null, 0, 0);
  }

  @Override
  public void close() throws IOException {
    part.closeStream(CLOSE);
  }
}
