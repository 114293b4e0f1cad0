"""Spark with tasks in processes of their own; results equal to those of one process."""

import os
import pathlib
import re
import sys

import pytest

import karta_import

pyspark = pytest.importorskip("pyspark")
# Where the package lies, as tasks find it, which run in folders of their own.
PACKAGES = os.path.dirname(os.path.dirname(os.path.abspath(karta_import.__file__)))


@pytest.fixture(scope="module")
def session():
    from pyspark.sql import SparkSession

    os.environ["PYSPARK_PYTHON"] = sys.executable  # else the tasks run in the system's, which lacks the packages
    made = (
        SparkSession.builder.master("local-cluster[2,1,1024]")
        .config("spark.executorEnv.PYTHONPATH", PACKAGES)
        .config("spark.ui.enabled", "false")
        .getOrCreate()
    )
    karta_import.spark.register(made)
    yield made
    made.stop()


def test_ten_thousand_spectra_are_those_of_one_process(session, spectra):
    folder = spectra(10_000)
    frame = session.read.format("karta").option("grid", "first").load(str(folder))
    rows = frame.orderBy("file").collect()
    alone = [
        (file, values.tolist())
        for table in karta_import.scan(folder, grid="first")
        for file, values in zip(table["file"].to_list(), table.values)
    ]
    values = next(name for name, kind in frame.dtypes if kind.startswith("array"))
    assert [(row["file"], row[values]) for row in rows] == alone


def test_bad_files_are_rows_of_the_error_column(session, spectra):
    folder = spectra(20)
    (folder / "s00007.spc").write_bytes(b"\x00\x4bnothing")
    frame = session.read.format("karta").option("onError", "column").load(str(folder))
    assert frame.count() == 20
    (bad,) = frame.where("error is not null").collect()
    assert bad["file"].endswith("s00007.spc")


def test_bad_files_fail_where_nothing_else_is_said(session, spectra):
    folder = spectra(20)
    (folder / "s00007.spc").write_bytes(b"\x00\x4bnothing")
    with pytest.raises(Exception, match="s00007"):
        session.read.format("karta").load(str(folder)).collect()


def test_files_are_split_evenly(session, spectra):
    frame = session.read.format("karta").option("partitions", "3").load(str(spectra(10)))
    counts = frame.rdd.mapPartitions(lambda rows: [sum(1 for _ in rows)]).collect()
    assert sorted(counts) == [3, 3, 4]


def test_bad_files_are_skipped(session, spectra):
    folder = spectra(12)
    (folder / "s00005.spc").write_bytes(b"\x00\x4bnothing")
    assert session.read.format("karta").option("onError", "skip").load(str(folder)).count() == 11


def test_a_given_schema_chooses_the_columns(session, spectra):
    frame = session.read.format("karta").schema("file string, absorbance array<float>, weight double").load(str(spectra(5)))
    rows = frame.orderBy("file").collect()
    assert [row["absorbance"][0] for row in rows] == [0, 1, 2, 3, 4]
    assert all(row["weight"] is None for row in rows)


def test_the_example_of_the_page_runs(session, spectra):
    pytest.importorskip("dask.dataframe")
    page = pathlib.Path(__file__).resolve().parents[3] / "docs" / "using-from-python.md"
    code = re.search(r"^```py\n(.*?)^```", page.read_text(), re.S | re.M).group(1)
    code = code.replace('"spectra/"', repr(str(spectra(5))))  # Spark stays in the folder that it was begun in
    names = {"karta_import": karta_import, "session": session}
    exec(compile(code, str(page), "exec"), names)
    assert (names["rows"].count(), names["bad"].count(), len(names["frame"])) == (5, 0, 5)


def test_a_bad_first_file_does_not_take_the_columns_away(session, spectra):
    folder = spectra(6)
    (folder / "s00000.spc").write_bytes(b"\x00\x4bnothing")
    for on_error, count in (("column", 6), ("skip", 5)):
        frame = session.read.format("karta").option("on_error", on_error).load(str(folder))
        assert frame.count() == count
        assert len(frame.columns) > 3


def test_texts_of_digits_stay_texts():
    from karta_import.spark import _scan_options

    options = _scan_options({"password": "1234", "part": "2", "rows": "[0, 1]", "onError": "skip", "on_error": "skip"})
    assert options == {"workers": 1, "password": "1234", "part": 2, "rows": [0, 1]}
