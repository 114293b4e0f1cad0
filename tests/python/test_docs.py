"""The examples of the pages run, in their order, and print what their comments say."""

import pathlib
import re

import pytest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def blocks(page):
    return re.findall(r"^```python\n(.*?)^```", (ROOT / page).read_text(), re.S | re.M)


def promised(code):
    """What each `print(...)   # text` says that it prints."""
    return [m.group(1) for m in re.finditer(r"^ *print\(.*\) {2,}# (.+)$", code, re.M)]


@pytest.mark.parametrize("page", ["docs/using-from-python.md", "README.md"])
def test_examples_of_a_page_run(page, monkeypatch, capsys):
    for module in ("duckdb", "polars", "pyarrow", "pandas"):
        pytest.importorskip(module)
    monkeypatch.chdir(ROOT)
    code = "\n".join(blocks(page))
    assert code
    exec(compile(code, page, "exec"), {"__name__": "example"})
    printed = capsys.readouterr().out
    for text in promised(code):
        if not text.startswith("what "):
            assert text in printed
