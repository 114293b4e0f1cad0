"""Files as a data source of Spark 4.

    karta_import.spark.register(session)
    frame = session.read.format("karta").option("batch", 200).load("spectra/*.spc")

Options are those of `karta_import.scan` and `karta_import.read` as texts (lists as JSON), and:

    partitions     how many tasks the files are split among, evenly; by default as many as Spark runs at once
    onError        "fail" (the default), "skip", or "column": a bad file is a row with its path in `file` and the
                   reason in `error`, everything else missing
    sample         how many of the first files settle the columns where no schema is given; 1 by default

Needs pyspark 4 and pyarrow.
"""

from __future__ import annotations

import json
import os
from collections.abc import Iterator
from typing import TYPE_CHECKING, Any

from pyspark.sql.datasource import DataSource, DataSourceReader, InputPartition

from karta_import._scan import expand_paths, scan

if TYPE_CHECKING:
    import pyarrow as pa
    from pyspark.sql import SparkSession
    from pyspark.sql.types import StructType

ERROR_COLUMN = "error"
OWN_OPTIONS = ("path", "paths", "partitions", "onerror", "sample", "batch")


def register(session: SparkSession) -> None:
    """Makes the format "karta" known to the session."""
    session.dataSource.register(KartaDataSource)


# These stay what they are, though a password may be all digits.
TEXT_OPTIONS = ("format", "reading", "encoding", "delimiter", "decimal", "password")


def _value_of(name: str, text: str) -> Any:
    """An option as the text that Spark hands on: JSON where it is some, else the text itself."""
    if name in TEXT_OPTIONS:
        return text
    try:
        return json.loads(text)
    except ValueError:
        return text


def _scan_options(options: dict[str, str]) -> dict[str, Any]:
    found = {name: _value_of(name, text) for name, text in options.items() if not _is_own(name)}
    return {"workers": 1} | found


def _is_own(name: str) -> bool:
    return name.lower().replace("_", "") in OWN_OPTIONS


def _option(options: dict[str, str], wanted: str, default: str) -> str:
    for name, text in options.items():
        if name.lower().replace("_", "") == wanted:
            return text
    return default


def _paths(options: dict[str, str]) -> list[str]:
    several = _option(options, "paths", "")
    files = expand_paths(json.loads(several) if several else _option(options, "path", ""))
    return [os.path.abspath(file) for file in files]  # tasks run in folders of their own


class _Files(InputPartition):
    """The files of one task."""

    def __init__(self, files: list[str]) -> None:
        self.files = files


class KartaDataSource(DataSource):
    """The data source "karta"; see the module."""

    @classmethod
    def name(cls) -> str:
        return "karta"

    def schema(self) -> StructType:
        from pyspark.sql.pandas.types import from_arrow_schema

        options = dict(self.options)
        files = _paths(options)
        if not files:
            raise ValueError("there is no file to tell the columns from")
        sample = int(_option(options, "sample", "1"))
        if _option(options, "onerror", "fail") == "fail":
            files = files[:sample]
        schema = _first_table(files, sample, options).schema
        if _option(options, "onerror", "fail") == "column":
            schema = _with_error_column(schema)
        return from_arrow_schema(schema)

    def reader(self, schema: StructType) -> DataSourceReader:
        return _Reader(dict(self.options), schema)


def _plain(table: pa.Table) -> pa.Table:
    """With types that Spark knows: lists for lists of fixed size, texts for dictionaries and large texts."""
    import pyarrow as pa

    fields = [pa.field(field.name, _plain_type(field.type)) for field in table.schema]
    return table.cast(pa.schema(fields))


def _plain_type(kind: Any) -> Any:
    import pyarrow as pa

    if pa.types.is_fixed_size_list(kind):
        return pa.list_(kind.value_type)
    if pa.types.is_dictionary(kind) or pa.types.is_large_string(kind) or pa.types.is_null(kind):
        return pa.string()
    if pa.types.is_time(kind):
        return pa.int64()
    return kind


def _first_table(files: list[str], sample: int, options: dict[str, str]) -> pa.Table:
    """Of the first files; where bad ones are passed over, of the first that can be read."""
    import pyarrow as pa

    fails = _option(options, "onerror", "fail") == "fail"
    tables = scan(files, batch=sample, on_error="raise" if fails else "skip", **_scan_options(options))
    table = next(tables, None)
    if table is None:
        raise ValueError("there is no file that can be read, to tell the columns from")
    return _plain(pa.table(table))


def _with_error_column(schema: Any) -> Any:
    import pyarrow as pa

    return schema.append(pa.field(ERROR_COLUMN, pa.string()))


class _Reader(DataSourceReader):
    def __init__(self, options: dict[str, str], schema: StructType) -> None:
        self.options = options
        self.schema = schema

    def partitions(self) -> list[InputPartition]:
        from pyspark.sql import SparkSession

        files = _paths(self.options)
        session = SparkSession.getActiveSession()
        parallel = session.sparkContext.defaultParallelism if session is not None else 1
        count = min(int(_option(self.options, "partitions", str(parallel))), len(files)) or 1
        bounds = [len(files) * i // count for i in range(count + 1)]
        return [_Files(files[first:last]) for first, last in zip(bounds, bounds[1:])]

    def read(self, partition: InputPartition) -> Iterator[pa.RecordBatch]:
        import pyarrow as pa
        from pyspark.sql.pandas.types import to_arrow_schema

        assert isinstance(partition, _Files)
        wanted = to_arrow_schema(self.schema)
        fails = _option(self.options, "onerror", "fail") == "fail"
        batch = int(_option(self.options, "batch", "500"))
        tables = scan(
            partition.files,
            batch=batch,
            on_error="raise" if fails else "collect",
            **_scan_options(self.options),
        )
        for table in tables:
            yield from _fitted(pa.table(table), wanted).to_batches()
        if _option(self.options, "onerror", "fail") == "column" and tables.errors:
            yield from _error_rows(tables.errors, wanted).to_batches()


def _fitted(table: pa.Table, wanted: Any) -> pa.Table:
    """With the wanted columns: those that the files don't have are missing."""
    import pyarrow as pa

    plain = _plain(table)
    columns = [
        plain[field.name].cast(field.type)
        if field.name in plain.column_names
        else pa.nulls(len(plain), field.type)
        for field in wanted
    ]
    return pa.table(columns, schema=wanted)


def _error_rows(errors: list[Any], wanted: Any) -> pa.Table:
    import pyarrow as pa

    told = {"file": [e.file for e in errors], ERROR_COLUMN: [str(e.error) for e in errors]}
    columns = [
        pa.array(told[field.name], field.type) if field.name in told else pa.nulls(len(errors), field.type)
        for field in wanted
    ]
    return pa.table(columns, schema=wanted)
