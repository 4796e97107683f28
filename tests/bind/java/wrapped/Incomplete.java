package wrapped;

/** Cannot say what its methods are without a class that is not there. */
public class Incomplete {
    public Gone gone() {
        return null;
    }
}
