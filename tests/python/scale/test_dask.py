import pytest

import karta_import

pytest.importorskip("dask.dataframe")


def test_a_folder_is_the_same_as_in_one_process(spectra):
    folder = spectra(250)
    frame = karta_import.dask.read(folder, batch=40)
    assert frame.npartitions == 7
    whole = next(karta_import.scan(folder, batch=1000)).to_pandas()
    computed = frame.compute().reset_index(drop=True)
    assert computed.astype(str).equals(whole.astype(str))


def test_bad_files_fail_or_are_passed_over(spectra):
    folder = spectra(6)
    for bad in ("s00002.spc", "s00003.spc"):
        (folder / bad).write_bytes(b"\x00\x4bnothing")
    with pytest.raises(karta_import.Error, match="s00002"):
        karta_import.dask.read(folder, batch=2).compute()
    assert len(karta_import.dask.read(folder, batch=2, on_error="skip").compute()) == 4


def test_a_bad_first_file_does_not_take_the_columns_away(spectra):
    folder = spectra(6)
    (folder / "s00000.spc").write_bytes(b"\x00\x4bnothing")
    frame = karta_import.dask.read(folder, batch=2, on_error="skip", workers=2).compute()
    assert len(frame) == 5 and "file" in frame.columns
