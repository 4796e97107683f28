package wrapped;

/** Not public; what is public in it is so through its subclass. */
class Hidden {
    public String fromHidden() {
        return "hidden";
    }

    public Hidden self() {
        return this;
    }
}
