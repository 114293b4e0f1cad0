import os
import signal
import subprocess
import sys
import time

import pytest
from conftest import spectrum_bytes

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


def test_a_part_that_begins_with_an_odd_file_keeps_the_others(tmp_path):
    folder, out = tmp_path / "spectra", tmp_path / "out"
    folder.mkdir()
    for i in range(8):
        last = 2100.0 if i == 4 else 2000.0
        (folder / f"{i}.spc").write_bytes(spectrum_bytes([float(i)] * 16, last=last))
    written = karta_import.to_parquet(folder, out, batch=4, on_error="collect")
    assert written.rows == 7
    assert [os.path.basename(failure.file) for failure in written.errors] == ["4.spc"]
    assert "its axis isn't that of the first files" in str(written.errors[0].error)
    with pytest.raises(karta_import.Error, match="4.spc: doesn't fit the first files: its axis"):
        karta_import.to_parquet(folder, tmp_path / "strict", batch=4)
    assert karta_import.to_parquet(folder, tmp_path / "skipping", batch=4, on_error="skip").errors == []


@pytest.mark.parametrize(("odd", "why"), [("a,c\n1,2\n", "'c' where the first files have 'b'"),
                                          ("a\n1\n", "None where the first files have 'b'"),
                                          ("a,b\n1,x\n", "'b' is text where that of the first files is int64"),
                                          ("a,b\n1,2.5\n", "'b' is double where")])
def test_other_columns_behind_the_first_part_are_told_by_their_file(tmp_path, odd, why):
    folder = tmp_path / "tables"
    folder.mkdir()
    for i in range(6):
        (folder / f"{i}.csv").write_text(odd if i == 4 else f"a,b\n{i},2\n")
    with pytest.raises(karta_import.Error, match=why) as caught:
        karta_import.to_parquet(folder, tmp_path / "strict", batch=2)
    assert (caught.value.code, os.path.basename(caught.value.file)) == ("does-not-fit", "4.csv")
    out = tmp_path / "out"
    written = karta_import.to_parquet(folder, out, batch=2, on_error="collect")
    assert written.rows == 5 and len(written.errors) == 1
    assert pq.read_table(out)["a"].to_pylist() == [0, 1, 2, 3, 5]


def test_what_is_only_spelled_otherwise_fits(tmp_path):
    folder = tmp_path / "tables"
    folder.mkdir()
    # Texts that come again and again are a dictionary, others aren't; whole numbers are no other ones.
    (folder / "0.csv").write_text("name,b\n" + "".join(f"x{i},1.5\n" for i in range(100)))
    (folder / "1.csv").write_text("name,b\n" + "same,1\n" * 100)
    (folder / "2.csv").write_text("name,b\n,7\nx,2\n")
    out = tmp_path / "out"
    assert karta_import.to_parquet(folder, out, batch=1).rows == 202
    assert pq.read_table(out).num_rows == 202


def test_each_part_is_read_while_the_one_before_is_made(spectra, tmp_path, monkeypatch):
    from karta_import import _parquet

    seen = []
    read, fitted = _parquet.scan, _parquet._fitted

    def watched_scan(files, **options):
        if files:
            seen.append(("read", os.path.basename(files[0])))
        return read(files, **options)

    def watched_fit(table, state, writer):
        seen.append(("made", os.path.basename(pa.table(table)["file"][0].as_py())))
        return fitted(table, state, writer)

    monkeypatch.setattr(_parquet, "scan", watched_scan)
    monkeypatch.setattr(_parquet, "_fitted", watched_fit)
    karta_import.to_parquet(spectra(6), tmp_path / "out", batch=2)
    files = [f"s0000{i}.spc" for i in (0, 2, 4)]
    assert seen == [
        ("read", files[0]),
        *(("read", files[1]), ("made", files[0])),
        *(("read", files[2]), ("made", files[1])),
        ("made", files[2]),
    ]


def test_what_ends_it_ends_the_reading_ahead(spectra, tmp_path, monkeypatch):
    from karta_import import _parquet

    def full(made, path, **options):
        raise OSError("the disk is full")

    monkeypatch.setattr("pyarrow.parquet.write_table", full)
    start = time.perf_counter()
    with pytest.raises(OSError, match="full"):
        karta_import.to_parquet(spectra(200, points=2000), tmp_path / "out", batch=5)
    assert time.perf_counter() - start < 5
    assert not list((tmp_path / "out").glob("*.parquet"))
