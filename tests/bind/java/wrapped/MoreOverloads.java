package wrapped;

public class MoreOverloads extends Overloads {
    public String base(String value) {
        return "more String";
    }
}
