"""Every reason the READMEs quote is one the code gives: each quoted reason (the examples of
"Reasons", "with the reason `...`", "logs `<function>, ...`") must be a text of one of the
C++ sources' string literals, with their %1 (or printf's %s, %d) placeholders standing for any
text."""

import re
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[3]
READMES = [ROOT / "README.md", ROOT / "clients" / "python" / "README.md"]
SOURCES = [path for folder in ("src", "tools") for path in sorted((ROOT / folder).rglob("*"))
           if path.suffix in (".cpp", ".h")]


def _one_line(text):
    return re.sub(r"\s+", " ", text)


def quoted_reasons(text):
    """The reasons (and log lines without their time and severity) a README quotes."""
    found = []
    flat = _one_line(text)
    reasons = re.search(r"\*\*Reasons\.\*\* .*?a short sentence: (.*?)\.(?: \*\*|$)", flat)
    if reasons:
        found += re.findall(r"`([^`]+)`", reasons.group(1))
    found += re.findall(r"(?:with|its|the) reason \(?`\"?([^`\"]+)\"?`", flat)
    found += re.findall(r"logs `([A-Za-z_:<>]+, [^`]+)`", flat)
    found += re.findall(r"`[0-9: .-]+\[\d\] ([A-Za-z_:]+, [^`]+)`", flat)
    found += re.findall(r"` or `\.\.\. (the window was [^`]+)`", flat)
    return [reason.strip() for reason in found]


def _formats():
    formats = set()
    for source in SOURCES:
        code = source.read_text(encoding="utf-8", errors="replace")
        for match in re.finditer(r'"((?:[^"\\\n]|\\.)*)"', code):
            literal = match.group(1).replace('\\"', '"').replace("\\\\", "\\")
            if len(literal) >= 6 and " " in literal:
                formats.add(literal)
    return formats


def _pattern(literal):
    """A literal as a regular expression: Qt's %1 and printf's %s, %d, %lld ... stand for any text."""
    parts = re.split(r"(%\d|%l{0,2}[sdu])", literal)
    return "".join(".*?" if part.startswith("%") and len(part) > 1 else re.escape(part) for part in parts)


FORMATS = sorted(_formats())
PATTERNS = [re.compile(_pattern(literal)) for literal in FORMATS]


def _given_by_code(reason):
    return any(pattern.fullmatch(reason) for pattern in PATTERNS)


def test_readmes_quote_reasons():
    reasons = [reason for readme in READMES for reason in quoted_reasons(readme.read_text(encoding="utf-8"))]
    assert len(reasons) >= 10, reasons


def test_a_reason_the_code_never_gives_is_caught():
    assert _given_by_code("no object matches main.okButton")
    assert _given_by_code("UIRemoteControl::Authenticate, client not authenticated: connection closed")
    assert not _given_by_code("no object is called main.okButton")
    assert not _given_by_code("the item okButton is hidden behind cover")


@pytest.mark.parametrize("readme", READMES, ids=lambda path: str(path.relative_to(ROOT)))
def test_every_quoted_reason_is_one_the_code_gives(readme):
    unknown = [reason for reason in quoted_reasons(readme.read_text(encoding="utf-8")) if not _given_by_code(reason)]
    assert unknown == []
