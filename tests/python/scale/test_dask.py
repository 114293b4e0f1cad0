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
