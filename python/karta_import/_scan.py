"""Tables of many files, one batch after the other."""

from __future__ import annotations

import glob
import os
from collections.abc import Iterable, Iterator, Sequence
from pathlib import Path as FilePath
from typing import TYPE_CHECKING, Any, Literal, NamedTuple, Union

from karta_import import _core
from karta_import._errors import Error
from karta_import._reading import block_form, check_names, check_paths, make_options
from karta_import._table import Table

if TYPE_CHECKING:
    from karta_import._reading import Path

    OnError = Literal["raise", "skip", "collect"]
    Columns = Literal["same", "union"]
    Grid = Union[Literal["first", "common", "union"], Sequence[float], None]


class Failure(NamedTuple):
    """A file that could not be read, and why."""

    file: str
    error: Error


def _is_hidden(path: FilePath, folder: FilePath) -> bool:
    return any(part.startswith(".") for part in path.relative_to(folder).parts)


def _files_below(folder: FilePath) -> list[str]:
    found = (path for path in folder.rglob("*") if path.is_file() and not _is_hidden(path, folder))
    return sorted(str(path) for path in found)


def expand_paths(paths: Path | Iterable[Path]) -> list[str]:
    """The files of a folder (those below it too, hidden ones left out), of a glob ("run*/**/*.spc"), or of a
    list of such; sorted within each, in the list's order."""
    if not isinstance(paths, (str, bytes, os.PathLike)):
        return [file for path in check_paths(paths) for file in expand_paths(path)]
    name = os.fsdecode(paths)
    if os.path.isdir(name):
        return _files_below(FilePath(name))
    if glob.has_magic(name) and not os.path.exists(name):
        # One that finds nothing is a file that isn't there, which the scan then tells.
        return sorted(path for path in glob.glob(name, recursive=True) if os.path.isfile(path)) or [name]
    return [name]


class Scan(Iterator[Table]):
    """Tables of many files, as `scan` gives them. One thread at a time may ask for the next one."""

    def __init__(self, scan: _core.Scan, form: _core.BlockForm) -> None:
        self._scan = scan
        self._form = form

    def __next__(self) -> Table:
        table = self._scan.next()
        if table is None:
            raise StopIteration
        return Table(table, self._form)

    def _stop(self) -> None:
        """From any thread: what reads at the moment ends with an error."""
        self._scan.stop()

    @property
    def errors(self) -> list[Failure]:
        """The files that could not be read so far and why; with on_error="collect" all of them at the end."""
        return [Failure(error.file, error) for error in self._scan.errors()]


def scan(
    paths: Path | Iterable[Path],
    *,
    batch: int = 500,
    grid: Grid = None,
    columns: Columns = "same",
    on_error: OnError = "raise",
    workers: int | None = None,
    wide: bool | None = None,
    **options: Any,
) -> Scan:
    """Reads many files, so many at a time, into tables with a column `file`.

    The files come in their order whatever the number of workers; memory is in proportion to a batch. The first
    batch settles names and types of the columns, unless `columns` says otherwise; a file that doesn't fit is one
    that can't be read.

    Args:
        paths: a folder (all files below it), a glob, a file, or a list of such.
        batch: how many files one table has.
        grid: one axis for all spectra: "first" (the first file's), "common" (where all have points), "union" (where
            any has), or the axis values themselves; interpolated linearly, never beyond a spectrum's ends, where the
            numbers are missing. None: as they are, and another axis is a file that doesn't fit.
        columns: which ones the tables have beside the spectra: "same", those of the first file; "union", those of all
            files in the order in which they turn up, missing in a file without them, and text where the files have
            different types. For more files than one batch they are all looked at before it, and what is read is
            kept as far as there is room.
        on_error: "raise"; "skip" goes on; "collect" goes on and keeps what failed in `.errors`.
        workers: how many files are read at once, from 1; None: as many as there are processors.
        wide: how spectra are handed on, as in `read`.
        options: those of `read` but `progress`.
    """
    if batch < 1:
        raise ValueError("batch is 1 or more")
    if columns not in ("same", "union"):
        raise ValueError(f"columns is 'same' or 'union', not {columns!r}")
    if on_error not in ("raise", "skip", "collect"):
        raise ValueError(f"on_error is 'raise', 'skip' or 'collect', not {on_error!r}")
    if workers is not None and workers < 1:
        raise ValueError("workers is 1 or more, or None")
    check_names("scan", options)
    is_axis = grid is not None and not isinstance(grid, str)
    if isinstance(grid, str) and grid not in ("first", "common", "union"):
        raise ValueError(f"grid is 'first', 'common', 'union' or an axis, not {grid!r}")
    axis = [float(x) for x in grid] if is_axis and grid is not None else []
    if is_axis and not axis:
        raise ValueError("grid has no points")
    made = _core.Scan(
        [os.fsencode(path) for path in expand_paths(paths)],
        make_options(**options),
        batch,
        "" if grid is None or is_axis else str(grid),
        axis,
        columns == "union",
        on_error,
        workers or os.cpu_count() or 1,
    )
    return Scan(made, block_form(wide))
