package wrapped;

public class BelowIncomplete extends Incomplete {
    public int own() {
        return 1;
    }
}
