"""Ctrl-C ends whatever runs, within a tenth of a second."""

import os
import signal
import threading
import time

import pytest
from conftest import spectrum_bytes

import karta_import

ENOUGH = 0.1
TRIES = 6  # a busy machine takes longer now and then


@pytest.fixture(scope="module")
def large(tmp_path_factory):
    """A folder with two files that take long each, of which a scan is in the middle of the first one."""
    folder = tmp_path_factory.mktemp("large")
    text = "a,b,c,d\n" + "1.25,2.5,text,4\n" * 4_000_000
    for name in ("a.csv", "b.csv"):
        (folder / name).write_text(text)
    return folder


def seconds_until_it_ends(call, delay):
    asked = []

    def interrupt():
        asked.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(delay, interrupt)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        call()
        time.sleep(10)  # it ended before it was asked to: the signal is still to come
    return time.monotonic() - asked[0] if asked else None


CALLS = {
    "read": lambda folder, out: karta_import.read(folder / "a.csv"),
    "read with progress": lambda folder, out: karta_import.read(folder / "a.csv", progress=lambda share: None),
    "scan": lambda folder, out: list(karta_import.scan(folder)),
    "scan with a grid": lambda folder, out: list(karta_import.scan(folder, grid="union")),
    "to_parquet": lambda folder, out: karta_import.to_parquet(folder, out),
}


@pytest.mark.parametrize("name", CALLS)
def test_ctrl_c_ends_it(name, large, tmp_path):
    if name == "to_parquet":
        pytest.importorskip("pyarrow.parquet")
    taken = []
    for attempt in range(TRIES):
        # Later and later, so that the signal meets different stages.
        taken.append(seconds_until_it_ends(lambda: CALLS[name](large, tmp_path / str(attempt)), 0.02 + 0.05 * attempt))
        if len(taken) >= 3 and min(taken) < ENOUGH:
            break
    assert min(taken) < ENOUGH, taken


def test_ctrl_c_ends_the_look_at_many_small_files(tmp_path):
    # None of them is waited for once it is known that nothing is wanted any more.
    for i in range(4000):
        (tmp_path / f"{i}.spc").write_bytes(spectrum_bytes([1.0] * 200))
    taken = []
    for attempt in range(TRIES):
        tables = karta_import.scan(tmp_path, grid="union")
        taken.append(seconds_until_it_ends(lambda: next(tables), 0.05 + 0.02 * attempt))
        if min(taken) < ENOUGH:
            break
    assert min(taken) < ENOUGH, taken


def test_a_scan_that_was_interrupted_has_ended(large):
    tables = karta_import.scan(large)
    assert seconds_until_it_ends(lambda: next(tables), 0.05) is not None
    with pytest.raises((karta_import.Error, StopIteration)):
        next(tables)


def test_ctrl_c_ends_to_parquet_beside_packages_with_handlers_of_their_own(large, tmp_path):
    """Theirs let a wait go on that Python's would end."""
    pytest.importorskip("pyarrow.parquet")
    pytest.importorskip("polars")
    test_ctrl_c_ends_it("to_parquet", large, tmp_path)
