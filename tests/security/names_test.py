"""What SECURITY.md says is shown by a test has that test, and every row of trust_tests.cpp stands on that page."""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sources = "".join(file.read_text(encoding="utf-8") for file in (ROOT / "tests").rglob("*.cpp"))
tests = {(suite, name) for suite, name in re.findall(r"\bTEST(?:_F|_P)?\((\w+),\s*(\w+)\)", sources)}
rows = set(re.findall(r'^    \{"(\w+)",', (ROOT / "tests/security/trust_tests.cpp").read_text(encoding="utf-8"), re.MULTILINE))
page = (ROOT / "SECURITY.md").read_text(encoding="utf-8")
told = {name for line in page.splitlines() if line.startswith("| ") for name in re.findall(r"`([\w./]+)`", line.rsplit("|", 2)[1])}
told |= set(re.findall(r"`(\w+Test\.\w+)`", page)) - {"TrustTest.DecidesWhatRuns"}

known = rows | {suite for suite, _ in tests} | {f"{suite}.{name}" for suite, name in tests}
known |= {name for name in told if name.startswith("tests/") and (ROOT / name).is_dir()} | {"TrustTest.DecidesWhatRuns/Row"}
missing = sorted(told - known) + sorted(f"{row} (a row that the page lacks)" for row in rows - told - {"NothingPlanted"})
print("\n".join(missing) or f"{len(told)} names")
sys.exit(bool(missing) or len(told) < 20)
