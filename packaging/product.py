"""The product's version and who owns it, as its public header and LICENSE have them. Run by itself, it prints the version."""
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent


def constant(path, *names):
    """The values of a header's macros, joined by dots."""
    text = pathlib.Path(path).read_text(encoding="utf-8", errors="replace")
    return ".".join(re.search(rf"#\s*define\s+{name}\s+\"?(\w+)", text).group(1) for name in names)


def version(folder=ROOT):
    """That of a checkout, or of an installed package."""
    return constant(pathlib.Path(folder) / "include/qvjvm/qvjvm.h", *(f"QVJVM_VERSION_{part}" for part in ("MAJOR", "MINOR", "PATCH")))


def copyright_line():
    return re.search(r"^Copyright .*$", (ROOT / "LICENSE").read_text(), re.MULTILINE).group(0)


def authors():
    return re.sub(r"^Copyright \(c\) [\d-]+ (the )?", "", copyright_line())


if __name__ == "__main__":
    print(version())
