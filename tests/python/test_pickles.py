"""Tables and columns in other processes."""

import concurrent.futures
import copy
import multiprocessing
import pickle

import numpy as np
import pyarrow as pa
import pytest
from conftest import READABLE

import karta_import


@pytest.mark.parametrize("wide", [None, True, False])
@pytest.mark.parametrize("path", READABLE, ids=lambda path: path.name)
def test_a_pickled_table_is_the_same(path, wide):
    table = karta_import.read(path, wide=wide)
    again = pickle.loads(pickle.dumps(table))
    ours, theirs = pa.table(table), pa.table(again)
    assert theirs.schema.equals(ours.schema, check_metadata=True)
    np.testing.assert_array_equal(again.values, table.values)
    assert again.values.dtype == table.values.dtype
    assert (again.facts, again.notes, again.shape) == (table.facts, table.notes, table.shape)
    for one, other in zip(table.columns, again.columns):
        assert repr(one.to_list()) == repr(other.to_list())
    if table.x is not None:
        np.testing.assert_array_equal(again.x, table.x)


def test_missing_values_stay_missing(tmp_path):
    path = tmp_path / "a.csv"
    path.write_text("name,n,ok,day,none\na,1,true,2025-01-02,\n,,,,\nä,3,false,2025-01-03,\n")
    again = pickle.loads(pickle.dumps(karta_import.read(path)))
    assert again["name"].to_list() == ["a", None, "ä"]
    assert again["n"].to_list() == [1, None, 3]
    assert again["ok"].to_list() == [True, None, False]
    assert again["none"].to_list() == [None, None, None]


def test_a_column_by_itself(samples):
    column = pickle.loads(pickle.dumps(karta_import.read(samples / "kinetics.spc")["Date"]))
    assert (column.name, column.type, len(column)) == ("Date", "timestamp[us]", 12)


def test_copies_share_what_never_changes(samples):
    table = karta_import.read(samples / "kinetics.spc")
    for made in (copy.copy(table), copy.deepcopy(table)):
        assert made.values.ctypes.data == table.values.ctypes.data


def test_processes_hand_tables_back(samples):
    paths = [samples / "kinetics.spc", samples / "wine.txt"]
    context = multiprocessing.get_context("spawn")
    with concurrent.futures.ProcessPoolExecutor(2, mp_context=context) as pool:
        shapes = [table.shape for table in pool.map(karta_import.read, paths)]
    assert shapes == [(12, 354), (24, 8)]


def test_what_is_no_pickled_table_is_refused(samples):
    core = pickle.loads(pickle.dumps(karta_import.read(samples / "wine.txt")))._table
    rows, columns, *rest = core.__getstate__()
    name, unit, kind, count, validity, values, text, words = columns[2]
    for wrong in ((name, unit, kind, count, validity, values[:-1], text, words),
                  (name, unit, 99, count, validity, values, text, words),
                  (name, unit, kind, -1, validity, values, text, words)):
        with pytest.raises(ValueError):
            type(core).__new__(type(core)).__setstate__((rows, [wrong], *rest))


def test_names_are_looked_for_among_the_columns(samples):
    table = karta_import.read(samples / "wine.txt")
    assert "Alcohol" in table
    assert "alcohol" not in table
    assert [column.name for column in table] == table.columns.names
    assert list(table["Class"])[:2] == ["A", "A"]
