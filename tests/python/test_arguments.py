"""What arguments are taken for, and that wrong ones are told before anything is read or made."""

import re

import numpy as np
import pytest

import karta_import


@pytest.mark.parametrize("rows", [0, -1, [], slice(0, 0), range(3, 3), True, 1.5, "1-3", [-1], ["1"]])
def test_rows_that_name_none_are_no_wish_for_all(samples, rows):
    with pytest.raises((ValueError, TypeError), match="row"):
        karta_import.read(samples / "wine.txt", rows=rows)


def test_rows_are_numbers_of_numpy_too(samples):
    assert len(karta_import.read(samples / "wine.txt", rows=np.int64(5))) == 5
    assert len(karta_import.read(samples / "wine.txt", rows=np.arange(0, 3))) == 3
    assert karta_import.read(samples / "wine.txt", rows=[1, 3])["Sample"].to_list() == ["W002", "W004"]


def test_an_open_file_is_no_list_of_paths(samples):
    with open(samples / "wine.txt", encoding="utf-8") as file:
        with pytest.raises(TypeError, match="a path or a list of paths is needed, not TextIOWrapper"):
            karta_import.read(file)
        with pytest.raises(TypeError, match="a path or a list of paths"):
            karta_import.scan(file)
    with pytest.raises(TypeError, match="not int"):
        karta_import.read(3)


@pytest.mark.parametrize(
    "wrong",
    [{"part": 1.0}, {"part": True}, {"part": ["a"]}, {"average": "2"}, {"average": -1}, {"budget": -1},
     {"header": True}, {"header": -1}, {"header": "first"}, {"include": "1:2"}, {"include": [1, 2, 3]},
     {"encoding": 8}, {"format": 1}, {"password": b"x"}, {"progress": 3}],
    ids=str,
)
def test_a_wrong_argument_is_named(samples, wrong):
    (name,) = wrong
    with pytest.raises((TypeError, ValueError), match=re.compile(name)) as caught:
        karta_import.read(samples / "kinetics.spc", **wrong)
    assert "incompatible function arguments" not in str(caught.value)


def test_an_unknown_argument_is_told_in_the_words_of_the_call(samples, tmp_path):
    path = samples / "wine.txt"
    for call, name in ((karta_import.scan, "scan"), (karta_import.info, "info")):
        with pytest.raises(TypeError, match=rf"{name}\(\) got an unexpected keyword argument 'sheet'"):
            call(path, sheet=1)
    with pytest.raises(TypeError, match="unexpected keyword argument 'sheet'"):
        karta_import.to_parquet(path, tmp_path / "out", sheet=1)
    assert not (tmp_path / "out").exists()


def test_a_format_is_guessed(samples):
    with pytest.raises(karta_import.Error, match="did you mean 'xlsx'"):
        karta_import.read(samples / "wine.txt", format="xlxs")


@pytest.mark.parametrize("wrong", [{"workers": 0}, {"workers": -1}, {"grid": []}, {"grid": [1.0, float("inf")]}], ids=str)
def test_a_scan_refuses_what_means_nothing(samples, wrong):
    with pytest.raises(ValueError):
        karta_import.scan(samples / "soil-1.0", **wrong)


def test_a_pattern_that_finds_nothing_is_a_missing_file(tmp_path):
    with pytest.raises(FileNotFoundError, match="nothing"):
        list(karta_import.scan(tmp_path / "nothing*.spc"))
    skipped = karta_import.scan(tmp_path / "nothing*.spc", on_error="collect")
    assert list(skipped) == []
    assert len(skipped.errors) == 1


def test_a_grid_beyond_a_spectrum_is_told(samples):
    (table,) = karta_import.scan(samples / "soil-1.0", grid=[20000, 30000])
    assert np.isnan(table.values).all()
    assert [note["code"] for note in table.notes].count("off-grid") == 1


def test_facts_of_one_name_are_all_there(samples):
    facts = karta_import.read(samples / "brookside" / "L0417.trn").facts
    assert {"skipped", "skipped (2)", "skipped (3)"} <= facts.keys()


def test_wrong_parquet_arguments_bind_no_folder(samples, tmp_path):
    out = tmp_path / "out"
    for wrong in ({"compression": "foo"}, {"batch": 0}):
        with pytest.raises(ValueError, match=next(iter(wrong))):
            karta_import.to_parquet(samples / "wine.txt", out, **wrong)
        assert not out.exists()


def test_a_run_that_wrote_nothing_binds_no_folder(samples, tmp_path):
    out = tmp_path / "out"
    assert karta_import.to_parquet(samples / "flour.cn", out, on_error="skip").files == []
    assert karta_import.to_parquet(samples / "wine.txt", out).rows == 24
