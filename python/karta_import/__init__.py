"""Reads data files of instruments, spreadsheets and process logs into tables.

    >>> import karta_import
    >>> table = karta_import.read("run.spc")
    >>> table.values          # spectra: rows by points, no copy
    >>> table.to_pandas()

`read` gives one table, `scan` those of many files, `to_parquet` a folder of Parquet files; `info`, `detect`
and `formats` tell what a file holds, which format it has, and which formats there are. What can't be read
ends in an `Error`, which says why.
"""

from karta_import._errors import AccessError, Error, MissingFileError
from karta_import._reading import detect, formats, info, read
from karta_import._table import Column, Table

__all__ = [
    "AccessError",
    "Column",
    "Error",
    "Failure",
    "MissingFileError",
    "Scan",
    "Table",
    "Written",
    "detect",
    "formats",
    "info",
    "read",
    "scan",
    "to_parquet",
]

__version__ = "2.0.0"


TYPE_CHECKING = False
if TYPE_CHECKING:
    from karta_import._parquet import Written, to_parquet
    from karta_import._scan import Failure, Scan, scan

# What costs nothing before somebody asks for it.
_LATER = {
    "Failure": "_scan",
    "Scan": "_scan",
    "scan": "_scan",
    "Written": "_parquet",
    "to_parquet": "_parquet",
}
_MODULES = ("dask", "spark")


def __getattr__(name: str) -> object:
    import importlib

    if name in _MODULES:
        return importlib.import_module(f"karta_import.{name}")
    if name not in _LATER:
        raise AttributeError(f"module 'karta_import' has no attribute {name!r}")
    found = getattr(importlib.import_module(f"karta_import.{_LATER[name]}"), name)
    globals()[name] = found
    return found


def __dir__() -> list[str]:
    return sorted({*globals(), *_LATER, *_MODULES})
