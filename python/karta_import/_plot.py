"""Tables drawn with matplotlib."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    from karta_import._table import Table


def axis_label(quantity: str, unit: str) -> str:
    """"wavenumber / cm-1"; what isn't known is left out."""
    return " / ".join(part for part in (quantity, unit) if part)


def _falls(table: Table) -> bool:
    """Whether the axis is drawn from right to left: wavenumbers of absorption and chemical shifts are, Raman
    shifts aren't."""
    quantity, unit = table.x_quantity.lower(), table.x_unit.replace("⁻¹", "-1").replace("^", "").lower()
    told = [quantity, *(str(value).lower() for value in table.facts.values())]
    if any("raman" in text for text in told):
        return False
    return "wavenumber" in quantity or unit in ("cm-1", "1/cm", "ppm")


def _draw_spectra(table: Table, ax: Any, line_options: dict[str, Any]) -> None:
    import numpy as np

    values = table.values
    x = table.x if table.x is not None else np.arange(1, values.shape[1] + 1)
    if len(table) > 0:
        ax.plot(x, values.T, **line_options)
    ax.set_xlabel(axis_label(table.x_quantity, table.x_unit))
    ax.set_ylabel(axis_label(table.y_quantity, table.y_unit))
    if _falls(table) and len(x) > 1:
        ax.set_xlim(np.nanmax(x), np.nanmin(x))


def _draw_columns(table: Table, ax: Any, line_options: dict[str, Any]) -> None:
    columns = list(table.columns)
    times = [c for c in columns if c.type in ("timestamp[us]", "date32")]
    for column in columns:
        if column.is_numeric:
            label = axis_label(column.name, column.unit)
            if times:
                ax.plot(times[0].values, column.values, label=label, **line_options)
            else:
                ax.plot(column.values, label=label, **line_options)
    ax.set_xlabel(times[0].name if times else "row")
    if ax.lines:
        ax.legend()


def plot(table: Table, ax: Any, line_options: dict[str, Any]) -> Any:
    """See `Table.plot`."""
    if ax is None:
        import matplotlib.pyplot as plt

        ax = plt.subplots()[1]
    if table._table.block is not None:
        _draw_spectra(table, ax, line_options)
    else:
        _draw_columns(table, ax, line_options)
    return ax
