"""Files as a data frame of Dask."""

from __future__ import annotations

import os
from collections.abc import Iterable
from typing import TYPE_CHECKING, Any

from karta_import._scan import expand_paths, scan

if TYPE_CHECKING:
    import pandas as pd

    from karta_import._reading import Path


def _read_group(files: list[str], names: list[str] | None, options: dict[str, Any]) -> pd.DataFrame:
    table = next(scan(files, batch=len(files), **{"workers": 1} | options), None)
    if table is None:  # none of them could be read, and that is to be passed over
        import pandas as pd

        return pd.DataFrame(columns=names)
    frame = table.to_pandas()
    return frame if names is None else frame.reindex(columns=names)


def read(paths: Path | Iterable[Path], *, batch: int = 100, **options: Any) -> Any:
    """A Dask data frame of many files, a partition every `batch` of them, made by `dask.dataframe.from_map`.

    Names and types of the columns are those of the first file that can be read; a bad one fails the task, or is passed over with
    on_error="skip". `paths` and `options` are those of
    `karta_import.scan`. Needs dask and pandas.
    """
    import dask.dataframe as dd

    files = [os.path.abspath(file) for file in expand_paths(paths)]  # workers may run in folders of their own
    if not files:
        raise ValueError("there is no file to read")
    first = next(scan(files, batch=1, **{"workers": 1} | options), None)
    if first is None:
        raise ValueError("there is no file that can be read")
    meta = first.to_pandas().iloc[:0]
    groups = [files[first : first + batch] for first in range(0, len(files), batch)]
    return dd.from_map(_read_group, groups, names=list(meta.columns), options=options, meta=meta)
