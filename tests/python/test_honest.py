"""What Python users rely on: locks, signals, start, types."""

import concurrent.futures
import os
import pathlib
import signal
import subprocess
import sys
import threading
import time

import pytest
from conftest import READABLE

import karta_import


def told(path):
    table = karta_import.read(path)
    last = len(table) - 1
    return table.shape, [table._table.text(column, last) for column in range(min(5, table.shape[1]))]


def test_eight_threads_read_all_samples():
    alone = [told(path) for path in READABLE]
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        together = list(pool.map(told, READABLE * 4))
    assert together == alone * 4


@pytest.fixture(scope="module")
def large(tmp_path_factory):
    path = tmp_path_factory.mktemp("large") / "large.csv"
    path.write_text("a,b,c,d\n" + "1.25,2.5,text,4\n" * 4_000_000)
    return path


def test_other_threads_run_while_one_reads(large):
    counted = 0
    reading = threading.Thread(target=karta_import.read, args=(large,))
    reading.start()
    while reading.is_alive():
        time.sleep(0.001)
        counted += 1
    assert counted > 10


def test_ctrl_c_ends_a_read(large):
    start = time.monotonic()
    karta_import.read(large)
    whole = time.monotonic() - start
    asked = []

    def interrupt():
        asked.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(whole / 4, interrupt)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        karta_import.read(large)
    # A tenth of a second of work; the machine may be busy with other things.
    assert time.monotonic() - asked[0] < 1.0


def run(code):
    return subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True).stdout


def test_importing_brings_nothing_along():
    brought = run("import sys, karta_import; print(*[m for m in ('numpy', 'pyarrow', 'pandas') if m in sys.modules])")
    assert brought.split() == []


def test_importing_takes_little_time():
    timed = "import time; a = time.process_time(); import karta_import; print(time.process_time() - a)"
    assert min(float(run(timed)) for _ in range(5)) < 0.05


def test_types_are_checked_strictly():
    pytest.importorskip("mypy")
    root = pathlib.Path(__file__).resolve().parent.parent.parent
    checked = subprocess.run(
        [sys.executable, "-m", "mypy", "--config-file", root / "pyproject.toml"],
        cwd=root, capture_output=True, text=True,
    )
    assert checked.returncode == 0, checked.stdout
