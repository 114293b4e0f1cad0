"""What Python users rely on: locks, signals, start, types."""

import concurrent.futures
import os
import pathlib
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


def test_eight_threads_read_all_samples_under_faulthandler():
    code = (
        "import concurrent.futures, faulthandler, sys, karta_import\n"
        "faulthandler.dump_traceback_later(300, exit=True)\n"
        "with concurrent.futures.ThreadPoolExecutor(8) as pool:\n"
        "    print(sum(len(t) > 0 for t in pool.map(karta_import.read, sys.argv[1:] * 4)))"
    )
    ran = subprocess.run(
        [sys.executable, "-X", "faulthandler", "-X", "dev", "-c", code, *READABLE], capture_output=True, text=True
    )
    assert (ran.returncode, ran.stderr) == (0, "")
    assert int(ran.stdout) == 4 * len(READABLE)


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
