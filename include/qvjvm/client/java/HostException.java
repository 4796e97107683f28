package qvjvm;

/** An exception of the host's code on its way through Java. */
final class HostException extends RuntimeException {
  /** The host's own exception, as long as this one can be reached; 0 for none. */
  final long thrown;

  HostException(String text, long thrown) {
    super(text);
    this.thrown = thrown;
    if (thrown != 0) HostWatcher.add(new HostPart(this, thrown));
  }
}
