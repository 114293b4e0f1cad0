import os
import signal
import subprocess
import sys
import time

import pytest

import karta_import

pa = pytest.importorskip("pyarrow")
pq = pytest.importorskip("pyarrow.parquet")


def test_a_row_a_spectrum_with_its_values_as_a_list(spectra, tmp_path):
    out = tmp_path / "out"
    written = karta_import.to_parquet(spectra(7), out, batch=3)
    assert len(written.files) == 3 and written.rows == 7
    table = pq.read_table(out)
    assert table.num_rows == 7
    lists = [name for name in table.column_names if pa.types.is_nested(table[name].type)]
    assert len(lists) == 1
    assert table[lists[0]][6].as_py()[:2] == [6.0, 6.125]


def test_a_second_run_goes_on_where_the_first_was_cut_off(spectra, tmp_path):
    folder, out = spectra(9), tmp_path / "out"
    karta_import.to_parquet(folder, out, batch=3)
    whole = pq.read_table(out)
    os.remove(out / "part-000001.parquet")
    kept = (out / "part-000000.parquet").stat().st_mtime_ns
    again = karta_import.to_parquet(folder, out, batch=3)
    assert again.rows == 3
    assert (out / "part-000000.parquet").stat().st_mtime_ns == kept
    assert pq.read_table(out).equals(whole)


def test_other_sources_are_not_mixed_in(spectra, tmp_path):
    folder, out = spectra(3), tmp_path / "out"
    karta_import.to_parquet(folder, out)
    spectra(4)
    with pytest.raises(FileExistsError):
        karta_import.to_parquet(folder, out)


def test_killed_at_any_moment_it_leaves_whole_files_only(spectra, tmp_path):
    folder, out = spectra(300, points=2000), tmp_path / "out"
    code = f"import karta_import; karta_import.to_parquet({str(folder)!r}, {str(out)!r}, batch=5)"
    for delay in (0.4, 0.7, 1.0):
        process = subprocess.Popen([sys.executable, "-c", code])
        time.sleep(delay)
        process.send_signal(signal.SIGKILL)
        process.wait()
        for path in out.glob("part-*.parquet"):
            assert pq.read_table(path).num_rows == 5
    karta_import.to_parquet(folder, out, batch=5)
    table = pq.read_table(out)
    assert table.num_rows == 300
    assert not list(out.glob(".*.part"))


def test_bad_files_are_told(spectra, tmp_path):
    folder = spectra(4)
    (folder / "s00001.spc").write_bytes(b"\x00\x4bnothing")
    written = karta_import.to_parquet(folder, tmp_path / "out", batch=2, on_error="collect")
    assert written.rows == 3
    assert [os.path.basename(failure.file) for failure in written.errors] == ["s00001.spc"]
