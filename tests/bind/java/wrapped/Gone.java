package wrapped;

/** Is not in the jar. */
public class Gone {}
