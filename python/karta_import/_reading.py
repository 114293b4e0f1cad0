"""Reading one table, and looking at files."""

from __future__ import annotations

import os

from karta_import import _core
from karta_import._errors import make_error
from karta_import._table import Table

TYPE_CHECKING = False  # as typing has it, which takes longer to import than all else here
if TYPE_CHECKING:
    from collections.abc import Callable, Iterable, Mapping, Sequence
    from typing import Any, Literal, Union

    Path = Union[str, bytes, os.PathLike[str], os.PathLike[bytes]]
    ReadingName = Literal["complete", "classic"]
    Progress = Callable[[Union[float, None]], object]

_core.translate_errors(make_error)


def path_bytes(path: Path) -> bytes:
    """A file's name as the system has it."""
    return os.fsencode(path)


def path_list(paths: Path | Iterable[Path]) -> list[bytes]:
    """One path or several."""
    if isinstance(paths, (str, bytes, os.PathLike)):
        return [path_bytes(paths)]
    return [path_bytes(path) for path in check_paths(paths)]


def check_paths(paths: Any) -> Any:
    """Several paths; an open file is none, though its lines could be gone through."""
    if hasattr(paths, "read") or not hasattr(paths, "__iter__"):
        raise TypeError(f"a path or a list of paths is needed, not {type(paths).__name__}")
    return paths


def _reading_of(name: str) -> _core.Reading:
    if name not in ("complete", "classic"):
        raise ValueError(f"reading is 'complete' or 'classic', not {name!r}")
    return _core.Reading.complete if name == "complete" else _core.Reading.classic


def _is_number(value: object) -> bool:
    return hasattr(value, "__float__") and not isinstance(value, bool)


def _intervals(include: Sequence[Any]) -> list[_core.Interval]:
    try:
        is_one = len(include) == 2 and all(_is_number(end) for end in include)
        return [_core.Interval(float(first), float(last)) for first, last in ([include] if is_one else include)]
    except (TypeError, ValueError):
        raise TypeError(f"include is (first, last) or a list of such, not {include!r}") from None


def _whole(name: str, value: Any, least: int) -> int:
    """A whole number, numpy's too."""
    if isinstance(value, bool) or not hasattr(value, "__index__"):
        raise TypeError(f"{name} is a whole number, not {value!r}")
    number: int = value.__index__()
    if number < least:
        raise ValueError(f"{name} is {least} or more, not {number}")
    return number


def _row_ranges(rows: int | slice | range | Sequence[Any]) -> list[_core.RowRange]:
    if isinstance(rows, slice):
        if rows.step not in (None, 1) or (rows.start or 0) < 0 or rows.stop is None or rows.stop < 0:
            raise ValueError("rows as a slice has an end, no negative bounds and no step")
        rows = range(rows.start or 0, rows.stop)
    if isinstance(rows, range):
        if rows.step != 1 or rows.start < 0:
            raise ValueError("rows as a range has no negative bounds and no step")
        ranges = [_core.RowRange(rows.start + 1, rows.stop)] if rows.stop > rows.start else []
    elif isinstance(rows, str) or not hasattr(rows, "__iter__"):
        ranges = [_core.RowRange(1, _whole("rows", rows, 1))]
    else:
        places = [_whole("a row", row, 0) + 1 for row in rows]
        ranges = [_core.RowRange(place, place) for place in places]
    if not ranges:
        raise ValueError("rows names no row")
    return ranges


def _header_of(header: str | int | None) -> int | None:
    if header == "auto":
        return None
    if header is None or header is False:
        return 0
    if isinstance(header, str) or isinstance(header, bool):
        raise ValueError(f"header is 'auto', None or the number of a row from 0, not {header!r}")
    return _whole("header", header, 0) + 1


def _part_of(part: str | int | None) -> str | int:
    if part is None:
        return 0
    if isinstance(part, str):
        return part
    if isinstance(part, bool) or not hasattr(part, "__index__"):
        raise TypeError(f"part is a name, a place from 1, or several as 'A,B', not {part!r}")
    return part.__index__()


def _text(name: str, value: str | None) -> str | None:
    if value is not None and not isinstance(value, str):
        raise TypeError(f"{name} is a text, not {value!r}")
    return value


def make_options(
    *,
    part: str | int | None = None,
    format: str | None = None,
    reading: str = "complete",
    header: str | int | None = "auto",
    include: Sequence[Any] | None = None,
    average: int | None = None,
    encoding: str | None = None,
    delimiter: str | None = None,
    decimal: str | None = None,
    password: str | None = None,
    rows: int | slice | range | Sequence[int] | None = None,
    budget: int | None = None,
    settings: Mapping[str, object] | None = None,
    plugins: Iterable[Path] = (),
) -> _core.ReadOptions:
    """The library's options of these arguments, which are those of `read`."""
    options = _core.ReadOptions()
    options.reading = _reading_of(reading)
    options.part = _part_of(part)
    options.format = _text("format", format) or ""
    options.header = _header_of(header)
    options.include = [] if include is None else _intervals(include)
    options.average = None if average is None else _whole("average", average, 0)
    options.encoding = _text("encoding", encoding)
    options.delimiter = _text("delimiter", delimiter)
    options.decimal = _text("decimal", decimal)
    options.password = _text("password", password)
    options.rows = [] if rows is None else _row_ranges(rows)
    options.budget = None if budget is None else _whole("budget", budget, 0)
    options.settings = {name: str(value) for name, value in (settings or {}).items()}
    options.plugins = [os.fsdecode(folder) for folder in plugins]
    return options


def check_names(call: str, options: Mapping[str, Any]) -> None:
    """Refuses what `make_options` doesn't know, in the words of the function that was called."""
    for name in options:
        if name not in (make_options.__kwdefaults__ or {}):
            raise TypeError(f"{call}() got an unexpected keyword argument {name!r}")


def block_form(wide: bool | None) -> _core.BlockForm:
    """How a block is handed on: as it lies, as columns, as lists."""
    if wide is None:
        return _core.BlockForm.as_it_lies
    return _core.BlockForm.columns if wide else _core.BlockForm.list


def read(
    path: Path | Iterable[Path],
    *,
    part: str | int | None = None,
    format: str | None = None,
    reading: ReadingName = "complete",
    header: Literal["auto"] | int | None = "auto",
    include: Sequence[Any] | None = None,
    average: int | None = None,
    encoding: str | None = None,
    delimiter: str | None = None,
    decimal: str | None = None,
    password: str | None = None,
    rows: int | slice | range | Sequence[int] | None = None,
    budget: int | None = None,
    settings: Mapping[str, object] | None = None,
    plugins: Iterable[Path] = (),
    progress: Progress | None = None,
    wide: bool | None = None,
) -> Table:
    """Reads a file, or several files that are one table, into a `Table`.

    Args:
        path: the file; a list of files for formats that read several as one table (others: see `scan`).
        part: a sheet, block, matrix, spectrum ... by its name or its place from 1 (see `info`); several as
            "A,B" or "all". None: what the format takes for the main one, which a note then tells.
        format: the format by its name or short name ("spc", "xlsx"); None: found out.
        reading: "complete" loses nothing; "classic" follows the rules of the desktop application.
        header: the row of the columns' names: "auto", None for none, or its number from 0.
        include: the interval of the X axis to keep, (first, last) in the axis' unit, both included; or a list
            of such.
        average: so many points of a spectrum become one.
        encoding: of the texts of files that don't tell it: "utf-8", "windows-1252", "cp850" ...
        delimiter: what parts the fields of delimited text; None: found out.
        decimal: the decimal mark of delimited text, "." or ","; None: found out.
        password: of an encrypted project.
        rows: which rows of the table to read, from 0, heads not counted: a number of first rows, a slice, a
            range or a list. The read ends behind the last one where it can.
        budget: in bytes, what the read may take; None: in proportion to the file.
        settings: further keys of the format's own.
        plugins: folders with plug-ins; nothing is loaded from elsewhere.
        progress: called with the share that is done, 0 to 1, or None where it isn't known.
        wide: how spectra are handed on to others: None as they lie (no copy), True a column a point, False one
            column of lists.

    Raises:
        Error: why there is no table; `MissingFileError` and `AccessError` are also what their names say.
        KeyboardInterrupt: within 100 ms of Ctrl-C.
    """
    options = make_options(
        part=part,
        format=format,
        reading=reading,
        header=header,
        include=include,
        average=average,
        encoding=encoding,
        delimiter=delimiter,
        decimal=decimal,
        password=password,
        rows=rows,
        budget=budget,
        settings=settings,
        plugins=plugins,
    )
    if progress is not None and not callable(progress):
        raise TypeError(f"progress is called with a share, and {progress!r} can't be")
    return Table(_core.read(path_list(path), options, progress), block_form(wide))


def info(path: Path | Iterable[Path], **options: Any) -> dict[str, Any]:
    """What a file holds, without reading its table: "format", "reason", "parts", "facts", "notes".

    A fact is a text, or a dictionary of "value" and "unit" where it is a number. Options are those of `read`.
    """
    check_names("info", options)
    return _core.info(path_list(path), make_options(**options))


def detect(path: Path, *, reading: ReadingName = "complete") -> dict[str, Any]:
    """Which format a file is taken for: "chosen" (None where no format fits), "reason", and the "verdicts" of
    all formats."""
    return _core.detect(path_bytes(path), _reading_of(reading))


def formats() -> list[dict[str, Any]]:
    """All formats: "formatName", "shortName", "extensions", "canRead", "canWrite", "canReadMany"."""
    return _core.formats()
