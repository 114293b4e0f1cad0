"""A table that was read, and its columns."""

from __future__ import annotations

from karta_import import _core

TYPE_CHECKING = False  # as typing has it, which takes longer to import than all else here
if TYPE_CHECKING:
    from collections.abc import Callable, Iterator
    from typing import Any

    import numpy as np
    import numpy.typing as npt
    import pandas as pd


class Column:
    """A column of a table: a name, a unit, a type, values and which of them are missing."""

    __slots__ = ("_column",)

    def __init__(self, column: _core.Column) -> None:
        self._column = column

    @property
    def name(self) -> str:
        """As the file has it, without its unit where that stands apart."""
        return self._column.name

    @property
    def unit(self) -> str:
        """"nm", "min"; empty where the file tells none."""
        return self._column.unit

    @property
    def type(self) -> str:
        """"bool", "int64", "float32", "float64", "text", "date32", "time64[us]", "timestamp[us]",
        "duration[us]" or "null"."""
        return self._column.type

    @property
    def is_numeric(self) -> bool:
        """Whether the values are numbers: whole ones or of either precision."""
        return self._column.is_numeric()

    @property
    def missing_count(self) -> int:
        """How many rows have no value."""
        return self._column.missing_count

    @property
    def values(self) -> npt.NDArray[Any]:
        """The values as an array of numpy, one a row.

        Numbers, timestamps and durations where nothing is missing lie in the table's own memory, read-only.
        Missing numbers are NaN and missing times NaT, in a copy; whole numbers then become floats. Texts, truth
        values with missing ones, and times of day are Python's objects, None where missing.
        """
        return _values_of(self._column)

    def to_list(self) -> list[Any]:
        """The values as Python's own, None where missing."""
        return _python_values(self._column)

    def __len__(self) -> int:
        return self._column.rows

    def __iter__(self) -> Iterator[Any]:
        return iter(self.to_list())

    def __deepcopy__(self, memo: dict[int, Any]) -> Column:
        # It never changes.
        return self

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> npt.NDArray[Any]:
        import numpy as np

        values = self.values
        if dtype is not None and values.dtype != np.dtype(dtype):
            return values.astype(dtype)
        return values.copy() if copy else values

    def __arrow_c_array__(self, requested_schema: object = None) -> tuple[object, object]:
        return self._column.capsules()

    def __repr__(self) -> str:
        unit = f", {self.unit}" if self.unit else ""
        return f"<Column {self.name!r} ({self.type}{unit}), {len(self)} rows>"


_NUMPY_TIMES = {"timestamp[us]": "datetime64[us]", "duration[us]": "timedelta64[us]"}


def _values_of(column: _core.Column) -> npt.NDArray[Any]:
    import numpy as np

    kind = column.type
    missing = column.missing()
    if column.is_numeric():
        values: npt.NDArray[Any] = column.array()
        if missing is None:
            return values
        made = values.astype(np.float64 if kind == "int64" else values.dtype)
        made[missing] = np.nan
        return made
    if kind in _NUMPY_TIMES:
        times: npt.NDArray[Any] = column.array().view(_NUMPY_TIMES[kind])
        return times if missing is None else np.where(missing, np.array("NaT", times.dtype), times)
    if kind == "date32":
        days: npt.NDArray[Any] = column.array().astype("datetime64[D]")
        if missing is not None:
            days[missing] = np.datetime64("NaT")
        return days
    if kind == "null":
        return np.full(column.rows, np.nan)
    if kind == "bool" and missing is None:
        return np.fromiter((column.truth(i) for i in range(column.rows)), np.bool_, column.rows)
    objects = np.empty(column.rows, dtype=object)
    for i, value in enumerate(_python_values(column)):
        objects[i] = value
    return objects


def _python_values(column: _core.Column) -> list[Any]:
    """A column's values as Python's own, None where missing."""
    rows = range(column.rows)
    kind = column.type
    values: list[Any]
    if kind == "null":
        return [None for _ in rows]
    if kind == "text":
        values = [column.text(i) for i in rows]
    elif kind == "bool":
        values = [column.truth(i) for i in rows]
    else:
        values = column.array().tolist()
    missing = column.missing()
    convert = _converter_of(kind)
    if missing is None:
        return [convert(value) for value in values]
    return [None if gone else convert(value) for value, gone in zip(values, missing.tolist())]


def _converter_of(kind: str) -> Callable[[Any], Any]:
    """From a value as it lies in a column of this type to Python's own."""
    import datetime

    day, epoch = datetime.date(1970, 1, 1), datetime.datetime(1970, 1, 1)
    converters: dict[str, Callable[[Any], Any]] = {
        "date32": lambda days: day + datetime.timedelta(days=days),
        "timestamp[us]": lambda us: epoch + datetime.timedelta(microseconds=us),
        "duration[us]": lambda us: datetime.timedelta(microseconds=us),
        "time64[us]": lambda us: (datetime.datetime.min + datetime.timedelta(microseconds=us)).time(),
    }
    return converters.get(kind, lambda value: value)


class Columns:
    """The columns beside the spectra, in the file's order: by place from 0, by name, or one after the other."""

    __slots__ = ("_table",)

    def __init__(self, table: _core.Table) -> None:
        self._table = table

    def __len__(self) -> int:
        return self._table.column_count

    def __iter__(self) -> Iterator[Column]:
        return (self[place] for place in range(len(self)))

    def __getitem__(self, key: int | str) -> Column:
        if isinstance(key, str):
            for column in self:
                if column.name == key:
                    return column
            raise KeyError(key)
        place = key + len(self) if key < 0 else key
        if not 0 <= place < len(self):
            raise IndexError(key)
        return Column(self._table.column(place))

    def __contains__(self, name: object) -> bool:
        return any(column.name == name for column in self)

    @property
    def names(self) -> list[str]:
        """In their order; a name may come twice."""
        return [column.name for column in self]

    def __repr__(self) -> str:
        return "[" + ", ".join(repr(column) for column in self) + "]"


class Table:
    """A table that was read: columns, and where the file holds spectra or other arrays, their matrix.

    pyarrow (`pyarrow.table(t)`), polars (`polars.DataFrame(t)`), DuckDB (`duckdb.sql("from t")`) and numpy
    (`t.values`) take it without a copy, pandas (`t.to_pandas()`) copying. It never changes; any thread may
    read it, and pickle takes it to other processes.
    """

    __slots__ = ("_form", "_table", "__weakref__")

    def __init__(self, table: _core.Table, form: _core.BlockForm = _core.BlockForm.as_it_lies) -> None:
        self._table = table
        self._form = form

    @property
    def columns(self) -> Columns:
        """The columns beside the spectra: labels, dates, and all columns of a table without spectra."""
        return Columns(self._table)

    @property
    def x(self) -> npt.NDArray[np.float64] | None:
        """The axis value of each point, in `x_unit`; None where the file tells none. Shape (points,)."""
        block = self._table.block
        return None if block is None else block.axis

    @property
    def x_quantity(self) -> str:
        """"wavenumber", "time"; empty where the file tells none."""
        return self._told("axis_quantity")

    @property
    def x_unit(self) -> str:
        """"cm-1", "s"; empty where the file tells none."""
        return self._told("axis_unit")

    @property
    def y_quantity(self) -> str:
        """"absorbance"; empty where the file tells none."""
        return self._told("value_quantity")

    @property
    def y_unit(self) -> str:
        """"AU"; empty where the file tells none."""
        return self._told("value_unit")

    def _told(self, what: str) -> str:
        text: str = getattr(self._table.block, what, "")
        return text

    @property
    def values(self) -> npt.NDArray[Any]:
        """The spectra, chromatogram or array as a matrix, shape (rows, points), missing numbers NaN: float32 or
        float64, in the table's own memory, read-only. For a table without one its columns of numbers side by
        side, a copy of float64."""
        block = self._table.block
        if block is not None:
            array: npt.NDArray[Any] = block.array
            return array
        import numpy as np

        numeric = [column.values for column in self.columns if column.is_numeric]
        if not numeric:
            return np.empty((len(self), 0))
        return np.column_stack([values.astype(np.float64) for values in numeric])

    @property
    def facts(self) -> dict[str, Any]:
        """What the file tells of itself: a text, or a dictionary of "value" and "unit" for a number."""
        return self._table.facts

    @property
    def notes(self) -> list[dict[str, Any]]:
        """What isn't in the table, or not as the file has it: "code", "count", "place", "text"."""
        return self._table.notes

    @property
    def shape(self) -> tuple[int, int]:
        """Rows and columns, the points of spectra among them."""
        return self._table.rows, self._table.width

    def to_numpy(self) -> npt.NDArray[Any]:
        """The same as `values`, shape (rows, points)."""
        return self.values

    def to_pandas(self) -> pd.DataFrame:
        """A data frame of pandas, the points of spectra as columns of their own; a copy."""
        import pandas as pd

        wide = Table(self._table, _core.BlockForm.columns)
        if hasattr(pd.DataFrame, "from_arrow"):
            return pd.DataFrame.from_arrow(wide)
        import pyarrow as pa

        return pa.table(wide).to_pandas()

    def plot(self, ax: Any = None, **line_options: Any) -> Any:
        """Draws the spectra, or each column of numbers, with matplotlib; wavenumbers fall to the right.

        Returns the axes. `line_options` go to matplotlib's `plot`.
        """
        from karta_import._plot import plot

        return plot(self, ax, line_options)

    def __len__(self) -> int:
        return self._table.rows

    def __getitem__(self, name: int | str) -> Column:
        """A column by its name, or its place from 0."""
        return self.columns[name]

    def __iter__(self) -> Iterator[Column]:
        return iter(self.columns)

    def __contains__(self, name: object) -> bool:
        """Whether there is a column of this name."""
        return name in self.columns

    def __deepcopy__(self, memo: dict[int, Any]) -> Table:
        # It never changes.
        return self

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> npt.NDArray[Any]:
        values = self.values
        if dtype is not None and values.dtype != dtype:
            return values.astype(dtype)
        return values.copy() if copy else values

    def __arrow_c_schema__(self) -> object:
        return self._table.schema_capsule(self._form)

    def __arrow_c_array__(self, requested_schema: object = None) -> tuple[object, object]:
        return self._table.array_capsules(self._form)

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        return self._table.stream_capsule(self._form)

    def __repr__(self) -> str:
        rows, width = self.shape
        block = self._table.block
        spectra = f", {block.points} of them points" if block is not None else ""
        return f"<karta_import.Table, {rows} rows, {width} columns{spectra}>"

    def _repr_html_(self) -> str:
        from karta_import._html import table_html

        return table_html(self)
