"""Many files into a folder of Parquet files."""

from __future__ import annotations

import hashlib
import json
import os
from collections.abc import Callable, Iterable
from concurrent.futures import Future, ThreadPoolExecutor, wait
from itertools import zip_longest
from pathlib import Path as FilePath
from typing import TYPE_CHECKING, Any, NamedTuple, TypeVar

from karta_import._errors import Error, make_error
from karta_import._scan import Failure, Scan, expand_paths, scan
from karta_import._table import Table

if TYPE_CHECKING:
    from karta_import._reading import Path

STATE = "_karta_import.json"

# Between looks for Ctrl-C, in seconds.
LOOK = 0.02

Made = TypeVar("Made")


class Written(NamedTuple):
    """What `to_parquet` has done."""

    folder: str
    files: list[str]  # the Parquet files, those of earlier runs too
    rows: int  # written by this run
    errors: list[Failure]


class _State:
    """What the folder's Parquet files are made of; kept in the folder, so that a later run can go on."""

    def __init__(self, folder: FilePath, identity: str) -> None:
        self._path = folder / STATE
        if self._path.exists():
            self._known = json.loads(self._path.read_text())
            if self._known["identity"] != identity and not any(folder.glob("part-*.parquet")):
                # A run that wrote nothing binds none.
                self._known = {"identity": identity, "axis": None}
                self._write()
            if self._known["identity"] != identity:
                raise FileExistsError(
                    f"{folder} holds the Parquet files of other sources or other options; name an empty folder"
                )
        elif any(folder.iterdir()):
            raise FileExistsError(f"{folder} isn't empty and holds nothing of to_parquet")
        else:
            self._known = {"identity": identity, "axis": None}
            self._write()

    @property
    def axis(self) -> list[float] | None:
        """The axis of the first table; all others have it."""
        axis: list[float] | None = self._known["axis"]
        return axis

    def keep_axis(self, table: Table) -> None:
        if self.axis is None and table.x is not None:
            self._known["axis"] = [float(x) for x in table.x]
            self._write()

    def _write(self) -> None:
        _replace(self._path, lambda path: path.write_text(json.dumps(self._known)))


def _identity(paths: list[str], options: dict[str, Any]) -> str:
    """Tells whether an earlier run was over the same files with the same options."""
    digest = hashlib.sha256(json.dumps(options, sort_keys=True, default=str).encode())
    for path in paths:
        try:
            state = os.stat(path)
            told = f"{path}\0{state.st_size}\0{state.st_mtime_ns}\n"
        except OSError:
            told = f"{path}\0\n"
        digest.update(told.encode("utf-8", "surrogateescape"))
    return digest.hexdigest()


def _replace(path: FilePath, write: Callable[[FilePath], object]) -> None:
    """The file is whole or isn't there, whenever this is stopped."""
    unfinished = path.with_name(f".{path.name}.{os.getpid()}.part")
    try:
        write(unfinished)
        os.replace(unfinished, path)
    finally:
        unfinished.unlink(missing_ok=True)


def _result(future: Future[Made]) -> Made:
    """What a thread makes. Ctrl-C is heard while it does: a wait without an end goes on over it where another package
    has put its own handler before Python's, as polars does."""
    while not future.done():
        wait([future], timeout=LOOK)
    return future.result()


def _is_text(kind: Any) -> bool:
    import pyarrow as pa

    kind = kind.value_type if pa.types.is_dictionary(kind) else kind
    return bool(pa.types.is_large_string(kind) or pa.types.is_string(kind))


def _is_measured(kind: Any) -> bool:
    import pyarrow as pa

    is_list = pa.types.is_list(kind) or pa.types.is_large_list(kind) or pa.types.is_fixed_size_list(kind)
    return bool(is_list or pa.types.is_floating(kind))


class _Writer:
    """Writes tables as Parquet, each while the next one is being read."""

    def __init__(self, folder: FilePath, compression: str) -> None:
        import pyarrow.parquet as pq

        self._pq = pq
        self._compression = compression
        self._pool = ThreadPoolExecutor(1)
        self._last: Future[None] | None = None
        first = next(iter(sorted(folder.glob("part-*.parquet"))), None)
        self._schema = None if first is None else pq.read_schema(first)
        self.rows = 0

    @property
    def has_schema(self) -> bool:
        """Whether the first table has settled the columns."""
        return self._schema is not None

    def fit(self, table: Table) -> Any:
        """The table with the columns of the first one. Raises ValueError, a sentence, where it has others."""
        import pyarrow as pa

        made = pa.table(table)
        if self._schema is None:
            self._schema = made.schema
        if made.schema == self._schema:
            return made
        for ours, theirs in zip_longest(self._schema.names, made.schema.names):
            if ours != theirs:
                raise ValueError(f"it has the column {theirs!r} where the first files have {ours!r}")
        columns = [self._cast(made.column(i), field) for i, field in enumerate(self._schema)]
        return pa.table(columns, schema=self._schema)

    @staticmethod
    def _cast(column: Any, field: Any) -> Any:
        if _is_text(column.type) and not _is_text(field.type):
            raise ValueError(f"its column {field.name!r} is text where that of the first files is {field.type}")
        try:
            return column.cast(field.type)
        except ValueError:
            raise ValueError(
                f"its column {field.name!r} is {column.type} where that of the first files is {field.type}"
            ) from None

    def write(self, made: Any, target: FilePath) -> None:
        self.finish()
        self._last = self._pool.submit(self._write_one, made, target)
        self.rows += len(made)

    def _write_one(self, made: Any, target: FilePath) -> None:
        # Dictionaries and bounds of measured numbers help nobody and take most of the time.
        plain = [field.name for field in made.schema if not _is_measured(field.type)]
        options = {"compression": self._compression, "use_dictionary": plain, "write_statistics": plain}
        _replace(target, lambda path: self._pq.write_table(made, path, **options))

    def finish(self) -> None:
        """Waits for what is being written, and raises what it raised."""
        if self._last is not None:
            _result(self._last)

    def close(self) -> None:
        self._pool.shutdown(wait=True)


def _check_compression(name: str) -> None:
    import pyarrow as pa

    try:
        is_known = name == "none" or pa.Codec.is_available(name)
    except ValueError:
        is_known = False
    if not is_known:
        raise ValueError(f"compression is 'zstd', 'snappy', 'none' or another that pyarrow has, not {name!r}")


def _pending_parts(files: list[str], folder: FilePath, batch: int) -> list[tuple[FilePath, list[str]]]:
    """The Parquet files that aren't there yet, each with its sources."""
    parts = []
    for place, first in enumerate(range(0, len(files), batch)):
        target = folder / f"part-{place:06d}.parquet"
        if not target.exists():
            parts.append((target, files[first : first + batch]))
    return parts


def _does_not_fit(file: str, why: str) -> Error:
    text = f"doesn't fit the first files: {why}"
    return make_error("does-not-fit", os.fsencode(file), "", "", text, "", {}, f"{file}: {text}")


def _fitted(table: Table, state: _State, writer: _Writer) -> Any:
    """For Parquet, like the first table. Raises ValueError, a sentence, where it isn't."""
    state.keep_axis(table)
    if table.x is not None and [float(x) for x in table.x] != state.axis:
        raise ValueError("its axis isn't that of the first files; a grid puts all spectra on one")
    return writer.fit(table)


def _settle_axis(state: _State, files: list[str], batch: int, options: dict[str, Any]) -> None:
    """The axis that all files have or fit to; looking at all of them is done once."""
    if state.axis is None and options.get("grid") in ("common", "union"):
        table = next(scan(files, batch=batch, **options), None)
        if table is not None:
            state.keep_axis(table)


def to_parquet(
    paths: Path | Iterable[Path],
    out: Path,
    *,
    batch: int = 500,
    compression: str = "zstd",
    **scan_options: Any,
) -> Written:
    """Writes many files into the folder `out`, a Parquet file a batch: one row a spectrum, its values a list; or
    the rows of each file, with a column `file`.

    Stopped at any moment, it leaves whole files only; called again with the same arguments it goes on where it
    was. All files have the columns of the first batch. Needs pyarrow (`pip install karta-import[parquet]`).

    Args:
        paths: as in `scan`.
        out: the folder; made if it isn't there.
        batch: how many source files one Parquet file has.
        compression: of Parquet: "zstd", "snappy", "none" ...
        scan_options: those of `scan`.

    Raises:
        FileExistsError: the folder holds something else.
    """
    # What is wrong with the call is told before anything is made.
    scan([], batch=batch, **scan_options)
    _check_compression(compression)
    files = expand_paths(paths)
    folder = FilePath(os.fsdecode(out))
    folder.mkdir(parents=True, exist_ok=True)
    for left in folder.glob(".*.part"):
        left.unlink(missing_ok=True)
    state = _State(folder, _identity(files, scan_options | {"compression": compression, "batch": batch}))
    _settle_axis(state, files, batch, scan_options)
    writer = _Writer(folder, compression)
    errors: list[Failure] = []
    parts = _pending_parts(files, folder, batch)
    reader = _Reader([sources for _, sources in parts], state, scan_options)
    try:
        for place, (target, sources) in enumerate(parts):
            errors += _write_part(target, sources, reader, place, state, writer, scan_options)
        writer.finish()
    finally:
        reader.close()
        writer.close()
    return Written(str(folder), sorted(str(p) for p in folder.glob("part-*.parquet")), writer.rows, errors)


def _on_axis(state: _State, options: dict[str, Any]) -> dict[str, Any]:
    """The options with the axis that the first part has settled, if there is a grid."""
    return options | {"grid": state.axis} if options.get("grid") is not None and state.axis is not None else options


class _Reader:
    """Reads parts, each while the one before is made into Parquet. One thread asks it for them."""

    def __init__(self, parts: list[list[str]], state: _State, options: dict[str, Any]) -> None:
        self._parts = parts
        self._state = state
        self._options = options
        self._pool = ThreadPoolExecutor(1)
        self._scans: dict[int, Scan] = {}
        self._ahead: dict[int, Future[Table | None]] = {}

    def begin(self, place: int) -> None:
        """Begins a part, if there is one; those before have settled the axis."""
        if place < len(self._parts) and place not in self._ahead:
            sources, options = self._parts[place], _on_axis(self._state, self._options)
            # What is skipped must be known, too: a part that begins with an odd file finds all others odd.
            on_error = "raise" if options.get("on_error", "raise") == "raise" else "collect"
            tables = scan(sources, batch=len(sources), **options | {"on_error": on_error})
            self._scans[place] = tables
            self._ahead[place] = self._pool.submit(next, tables, None)

    def take(self, place: int) -> tuple[Table | None, list[Failure]]:
        """A part's table, None where no file could be read, and the files that couldn't. Raises what its reading
        raised."""
        self.begin(place)
        table = _result(self._ahead.pop(place))
        return table, self._scans.pop(place).errors

    def close(self) -> None:
        """Ends what is being read."""
        for tables in self._scans.values():
            tables._stop()
        self._pool.shutdown(wait=True, cancel_futures=True)


def _write_part(
    target: FilePath,
    sources: list[str],
    reader: _Reader,
    place: int,
    state: _State,
    writer: _Writer,
    options: dict[str, Any],
) -> list[Failure]:
    is_first = not writer.has_schema
    on_error = options.get("on_error", "raise")
    try:
        table, errors = reader.take(place)
        if table is not None:
            state.keep_axis(table)
        reader.begin(place + 1)
        made = None if table is None else _fitted(table, state, writer)
        is_odd = any(failure.error.code == "does-not-fit" for failure in errors)
    except Error as error:
        if is_first or error.code != "does-not-fit":
            raise
        is_odd = True
    except ValueError:
        is_odd = True
    if is_odd and not is_first:
        made, errors = _read_by_file(sources, state, writer, _on_axis(state, options))
    if made is not None:
        writer.write(made, target)
    return errors if on_error == "collect" else []


def _read_by_file(
    sources: list[str], state: _State, writer: _Writer, options: dict[str, Any]
) -> tuple[Any, list[Failure]]:
    """The files that fit the first part, each looked at by itself, as one table or None; and the others."""
    import pyarrow as pa

    errors: list[Failure] = []
    fitting = []
    raises = options.get("on_error", "raise") == "raise"
    options = options | {"on_error": "raise" if raises else "collect", "workers": 1}
    for file in sources:
        tables = scan(file, batch=1, **options)
        table = next(tables, None)
        errors += tables.errors
        if table is None:
            continue
        try:
            fitting.append(_fitted(table, state, writer))
        except ValueError as reason:
            error = _does_not_fit(file, str(reason))
            if raises:
                raise error from None
            errors.append(Failure(file, error))
    return (pa.concat_tables(fitting).combine_chunks() if fitting else None), errors
