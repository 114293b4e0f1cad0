import datetime
import os
import pathlib
import pickle

import pytest
from conftest import READABLE

import karta_import


@pytest.mark.parametrize("path", READABLE, ids=lambda path: path.name)
def test_every_sample_is_read(path):
    table = karta_import.read(path)
    rows, width = table.shape
    assert rows > 0 and width > 0
    assert len(table) == rows


@pytest.mark.parametrize("path", READABLE, ids=lambda path: path.name)
def test_every_sample_is_read_classically(path):
    assert min(karta_import.read(path, reading="classic").shape) > 0


def test_spectra_are_a_matrix_with_an_axis(samples):
    table = karta_import.read(samples / "kinetics.spc")
    assert table.values.shape == (12, 350)
    assert table.x.shape == (350,)
    assert (table.x[0], table.x[-1]) == (1100.0, 2496.0)
    assert (table.x_quantity, table.x_unit) == ("wavelength", "nm")
    assert (table.y_quantity, table.y_unit) == ("absorbance", "AU")
    assert table["Date"].to_list()[0] == datetime.datetime(2025, 9, 17, 13, 42)


def test_text_keeps_types(tmp_path):
    path = tmp_path / "a.csv"
    path.write_text("name,n,x,day,ok\na,1,1.5,2025-01-02,true\nb,,2.5,2025-01-03,false\n")
    table = karta_import.read(path)
    assert table.columns.names == ["name", "n", "x", "day", "ok"]
    assert [c.type for c in table.columns] == ["text", "int64", "float64", "date32", "bool"]
    assert table["n"].to_list() == [1, None]
    assert table["day"].to_list() == [datetime.date(2025, 1, 2), datetime.date(2025, 1, 3)]
    assert table["ok"].to_list() == [True, False]
    assert table.values.shape == (2, 2)


def test_paths_of_any_kind(samples):
    expected = karta_import.read(str(samples / "wine.txt")).shape
    assert karta_import.read(pathlib.Path(samples / "wine.txt")).shape == expected
    assert karta_import.read(os.fsencode(samples / "wine.txt")).shape == expected


def test_a_part_by_name_and_by_place(samples):
    named = karta_import.read(samples / "excel2007.xlsx", part="Summary")
    placed = karta_import.read(samples / "excel2007.xlsx", part=2)
    assert named.shape == placed.shape
    with pytest.raises(karta_import.Error) as caught:
        karta_import.read(samples / "excel2007.xlsx", part="Nothing")
    assert caught.value.code == "no-such-part"


def test_a_missing_file_is_a_file_not_found_error(tmp_path):
    with pytest.raises(FileNotFoundError) as caught:
        karta_import.read(tmp_path / "none.spc")
    assert isinstance(caught.value, karta_import.Error)
    assert isinstance(caught.value, ValueError)
    assert caught.value.code == "not-found"
    assert caught.value.file == str(tmp_path / "none.spc")
    assert caught.value.filename == str(tmp_path / "none.spc")


@pytest.mark.skipif(os.geteuid() == 0, reason="root may read everything")
def test_a_forbidden_file_is_a_permission_error(tmp_path):
    path = tmp_path / "a.csv"
    path.write_text("a\n1\n")
    path.chmod(0)
    with pytest.raises(PermissionError):
        karta_import.read(path)


def test_a_bad_file_says_why(tmp_path):
    path = tmp_path / "a.spc"
    path.write_bytes(b"no spectrum at all")
    with pytest.raises(karta_import.Error) as caught:
        karta_import.read(path, format="spc")
    assert caught.value.format == "GalacticSPC File"
    assert str(path) in str(caught.value)


def test_errors_travel_between_processes(tmp_path):
    with pytest.raises(karta_import.Error) as caught:
        karta_import.read(tmp_path / "none.spc")
    copy = pickle.loads(pickle.dumps(caught.value))
    assert (copy.code, copy.file, str(copy)) == (caught.value.code, caught.value.file, str(caught.value))
    assert isinstance(copy, FileNotFoundError) and copy.errno == caught.value.errno


def test_an_option_of_other_formats_is_an_error(samples):
    with pytest.raises(karta_import.Error) as caught:
        karta_import.read(samples / "wine.txt", average=3)
    assert caught.value.code == "unknown-option"


def test_an_interval_keeps_its_points(samples):
    table = karta_import.read(samples / "kinetics.spc", include=(1200, 1300))
    assert table.x.min() >= 1200 and table.x.max() <= 1300
    assert table.values.shape == (12, table.x.size)


def test_header_none_takes_the_first_row_as_data(tmp_path):
    path = tmp_path / "a.csv"
    path.write_text("a,b\n1,2\n3,4\n")
    assert len(karta_import.read(path)) == 2
    assert len(karta_import.read(path, header=None)) == 3


def test_the_classic_reading_can_be_chosen(samples):
    assert karta_import.info(samples / "kinetics.spc", reading="classic")["reading"] == "classic"
    with pytest.raises(ValueError):
        karta_import.read(samples / "kinetics.spc", reading="modern")


def test_info_detect_and_formats_tell_what_the_program_tells(samples):
    told = karta_import.info(samples / "kinetics.spc")
    assert told["format"] == "GalacticSPC File"
    assert told["facts"]["first X"] == {"value": 1100, "unit": "nm"}
    assert told["parts"][0]["rows"] == 12
    assert karta_import.detect(samples / "kinetics.spc")["chosen"] == "GalacticSPC File"
    names = [entry["formatName"] for entry in karta_import.formats()]
    assert len(names) == 22 and "JCAMP-DX File" in names


def test_progress_is_told(samples):
    shares = []
    karta_import.read(samples / "wine.txt", progress=shares.append)
    assert all(share is None or 0 <= share <= 1 for share in shares)


def test_what_progress_raises_ends_the_read(tmp_path):
    path = tmp_path / "a.csv"
    path.write_text("a,b\n" + "1.5,2.5\n" * 400_000)

    def stop(share):
        raise RuntimeError("enough")

    with pytest.raises(RuntimeError, match="enough"):
        karta_import.read(path, progress=stop)
