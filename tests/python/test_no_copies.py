"""The same memory in ours, numpy, pyarrow, polars and DuckDB."""

import numpy
import pytest

import karta_import


@pytest.fixture
def numbers(tmp_path):
    path = tmp_path / "a.csv"
    path.write_text("x,y\n" + "".join(f"{i}.5,{i}\n" for i in range(1000)))
    return karta_import.read(path)


def address(array):
    return array.__array_interface__["data"][0]


def test_a_column_lies_once_in_numpy_and_pyarrow(numbers):
    pa = pytest.importorskip("pyarrow")
    ours = address(numbers["x"].values)
    table = pa.table(numbers)
    assert table["x"].chunk(0).buffers()[1].address == ours
    assert address(table["x"].chunk(0).to_numpy(zero_copy_only=True)) == ours
    table.validate(full=True)


def test_a_column_lies_once_in_polars(numbers):
    pl = pytest.importorskip("polars")
    frame = pl.DataFrame(numbers)
    assert address(frame["x"].to_numpy(allow_copy=False)) == address(numbers["x"].values)
    assert pl.from_arrow(numbers).struct.unnest().equals(frame)


def test_a_block_lies_once(samples):
    pa = pytest.importorskip("pyarrow")
    spectra = karta_import.read(samples / "kinetics.spc")
    ours = address(spectra.values)
    assert address(spectra.values) == ours
    assert address(numpy.asarray(spectra.values)) == ours
    table = pa.table(spectra)
    table.validate(full=True)
    field = next(name for name in table.column_names if pa.types.is_fixed_size_list(table[name].type))
    assert table[field].chunk(0).values.buffers()[1].address == ours


def test_a_block_lies_once_in_polars(samples):
    pl = pytest.importorskip("polars")
    spectra = karta_import.read(samples / "kinetics.spc")
    frame = pl.DataFrame(spectra)
    name = next(column for column in frame.columns if isinstance(frame[column].dtype, pl.Array))
    assert address(frame[name].to_numpy(allow_copy=False)) == address(spectra.values)


def test_a_block_in_columns_lies_once(samples):
    pa = pytest.importorskip("pyarrow")
    matrix = karta_import.read(samples / "wheat.mat")
    assert matrix.values.flags.f_contiguous
    table = pa.table(matrix)
    last = matrix.values.shape[1]
    handed = table.columns[-last:]
    for point in range(last):
        column = handed[point].chunk(0).to_numpy(zero_copy_only=True)
        assert address(column) == address(matrix.values[:, point])


def test_a_block_as_columns_or_as_lists(samples):
    pa = pytest.importorskip("pyarrow")
    wide = pa.table(karta_import.read(samples / "kinetics.spc", wide=True))
    lists = pa.table(karta_import.read(samples / "kinetics.spc", wide=False))
    assert wide.num_columns == lists.num_columns - 1 + 350
    wide.validate(full=True)


def test_arrays_outlive_their_table(samples):
    values = karta_import.read(samples / "kinetics.spc").values
    assert numpy.isfinite(values).all()
    assert not values.flags.writeable


def test_duckdb_takes_the_table_as_it_is(numbers):
    duckdb = pytest.importorskip("duckdb")
    assert duckdb.sql("select count(*), sum(y) from numbers").fetchall() == [(1000, 499500)]


def test_pandas_takes_it_copying(numbers, samples):
    pandas = pytest.importorskip("pandas")
    pytest.importorskip("pyarrow")
    frame = numbers.to_pandas()
    assert list(frame.columns) == ["x", "y"] and frame["y"].sum() == 499500
    spectra = karta_import.read(samples / "kinetics.spc")
    assert spectra.to_pandas().shape == spectra.shape
    assert isinstance(frame, pandas.DataFrame)
