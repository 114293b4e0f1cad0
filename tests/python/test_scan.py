import os
import subprocess
import sys

import numpy
import pytest
from conftest import spectrum_bytes

import karta_import


def test_a_folder_becomes_batches_in_order(spectra):
    folder = spectra(7)
    batches = list(karta_import.scan(folder, batch=3, workers=2))
    assert [len(batch) for batch in batches] == [3, 3, 1]
    files = [file for batch in batches for file in batch["file"].to_list()]
    assert [os.path.basename(file) for file in files] == [f"s{i:05}.spc" for i in range(7)]
    values = numpy.concatenate([batch.values for batch in batches])
    assert values[:, 0].tolist() == [0, 1, 2, 3, 4, 5, 6]


def test_globs_and_lists_name_files(spectra):
    folder = spectra(3)
    assert sum(len(t) for t in karta_import.scan(str(folder / "*.spc"))) == 3
    assert sum(len(t) for t in karta_import.scan([folder / "s00001.spc", folder / "s00000.spc"])) == 2


def test_the_number_of_workers_changes_nothing(spectra):
    folder = spectra(20)
    told = [
        [batch._table.text(c, r) for batch in karta_import.scan(folder, batch=4, workers=n)
         for r in range(len(batch)) for c in range(batch.shape[1])]
        for n in (1, 4)
    ]
    assert told[0] == told[1]


@pytest.fixture
def bad(spectra):
    folder = spectra(4)
    (folder / "s00002.spc").write_bytes(b"\x00\x4bnothing")
    return folder


def test_a_bad_file_raises(bad):
    with pytest.raises(karta_import.Error, match="s00002"):
        list(karta_import.scan(bad))


def test_bad_files_are_skipped(bad):
    assert sum(len(t) for t in karta_import.scan(bad, on_error="skip")) == 3


def test_bad_files_are_collected_with_their_reasons(bad):
    tables = karta_import.scan(bad, on_error="collect")
    assert sum(len(t) for t in tables) == 3
    (failure,) = tables.errors
    assert failure.file.endswith("s00002.spc")
    assert isinstance(failure.error, karta_import.Error)


@pytest.fixture
def two_axes(tmp_path):
    # Points 1000, 1100 ... 2000 and 1500, 1600 ... 2500; the value is the axis value.
    for name, first in (("a", 1000), ("b", 1500)):
        x = [first + 100 * i for i in range(11)]
        (tmp_path / f"{name}.spc").write_bytes(spectrum_bytes([float(v) for v in x], x[0], x[-1]))
    return tmp_path


def test_other_axes_do_not_fit_without_a_grid(two_axes):
    with pytest.raises(karta_import.Error, match="b.spc"):
        list(karta_import.scan(two_axes))


@pytest.fixture
def other_columns(tmp_path):
    for name, text in (("a", "x,y\n1,2\n3,4\n"), ("b", "y,z\n5,p\n6,q\n"), ("c", "x,z\none,7\n")):
        (tmp_path / f"{name}.csv").write_text(text)
    return tmp_path


def test_other_columns_do_not_fit_the_first_ones(other_columns):
    tables = karta_import.scan(other_columns, on_error="collect")
    assert [table.shape for table in tables] == [(2, 3)]
    assert [os.path.basename(failure.file) for failure in tables.errors] == ["b.csv", "c.csv"]


@pytest.mark.parametrize("batch", [1, 2, 3])
def test_union_has_the_columns_of_all_files(other_columns, batch):
    rows = {name: [] for name in ("file", "x", "y", "z")}
    for table in karta_import.scan(other_columns, columns="union", batch=batch):
        assert [column.name for column in table.columns] == list(rows)
        for name, values in rows.items():
            values += table[name].to_list()
    assert [os.path.basename(file) for file in rows.pop("file")] == ["a.csv", "a.csv", "b.csv", "b.csv", "c.csv"]
    assert rows == {
        "x": ["1", "3", None, None, "one"],
        "y": [2, 4, 5, 6, None],
        "z": [None, None, "p", "q", "7"],
    }


def test_columns_are_same_or_union(other_columns):
    with pytest.raises(ValueError, match="columns"):
        karta_import.scan(other_columns, columns="all")


def test_common_grid_has_the_points_that_all_have(two_axes):
    (table,) = karta_import.scan(two_axes, grid="common")
    assert (table.x[0], table.x[-1]) == (1500, 2000)
    assert numpy.allclose(table.values, table.x)


def test_union_grid_leaves_missing_what_a_spectrum_has_not(two_axes):
    (table,) = karta_import.scan(two_axes, grid="union")
    assert (table.x[0], table.x[-1]) == (1000, 2500)
    assert numpy.isnan(table.values[0]).sum() == 5 and numpy.isnan(table.values[1]).sum() == 5


def test_a_grid_of_ones_own_is_interpolated(two_axes):
    (table,) = karta_import.scan(two_axes, grid=[1525.0, 1550.0, 2600.0])
    assert table.x.tolist() == [1525, 1550, 2600]
    assert numpy.allclose(table.values[:, :2], [[1525, 1550], [1525, 1550]])
    assert numpy.isnan(table.values[:, 2]).all()


def test_the_first_axis_holds_for_all(two_axes):
    (table,) = karta_import.scan(two_axes, grid="first")
    assert (table.x[0], table.x[-1], table.x.size) == (1000, 2000, 11)
    assert numpy.isnan(table.values[1][:5]).all()


def test_memory_is_that_of_a_batch(spectra):
    folder = spectra(600, points=20_000)  # 48 MB of values, 1.6 MB a batch
    code = (
        "import resource, sys, karta_import, numpy\n"
        "peak = lambda: resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024\n"
        "tables = karta_import.scan(sys.argv[1], batch=20, workers=2)\n"
        "next(tables).values.sum(); first = peak()\n"
        "print(sum(len(table) for table in tables), peak() - first)"
    )
    ran = subprocess.run([sys.executable, "-c", code, folder], check=True, capture_output=True, text=True)
    rows, grown = ran.stdout.split()
    assert rows == "580"
    assert float(grown) < 16
