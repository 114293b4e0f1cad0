"""A table as notebooks show it."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    from karta_import._table import Table

MOST_ROWS = 10
MOST_COLUMNS = 12


def _shown_columns(width: int) -> list[int]:
    if width <= MOST_COLUMNS:
        return list(range(width))
    return [*range(MOST_COLUMNS - 2), -1, width - 1]  # -1 stands for those left out


def _name_of(table: Table, place: int) -> str:
    """Of a column by its place over all, the points of spectra among them."""
    block, first = table._table.block, table._table.block_place
    if block is not None and place >= first:
        if place < first + block.points:
            return block.point_name(place - first)
        place -= block.points
    column = table.columns[place]
    return f"{column.name} ({column.unit})" if column.unit else column.name


def _fact_text(value: Any) -> str:
    if isinstance(value, dict):
        return f"{value['value']} {value['unit']}".rstrip()
    return str(value)


def _row(cells: list[str], tag: str) -> str:
    return "<tr>" + "".join(f"<{tag}>{cell}</{tag}>" for cell in cells) + "</tr>"


def table_html(table: Table) -> str:
    """The head of the table, its facts and its notes."""
    rows, width = table.shape
    shown = _shown_columns(width)
    names = [escape(_name_of(table, c)) if c >= 0 else "…" for c in shown]
    lines = ["<div><table>", "<thead>", _row(names, "th")]
    lines += ["</thead>", "<tbody>"]
    for row in range(min(rows, MOST_ROWS)):
        cells = [escape(table._table.text(c, row)) if c >= 0 else "…" for c in shown]
        lines.append(_row(cells, "td"))
    lines += ["</tbody></table>", f"<p>{rows} rows × {width} columns</p>"]
    if table.facts:
        lines.append("<details><summary>Facts</summary><table>")
        lines += [_row([escape(name), escape(_fact_text(value))], "td") for name, value in table.facts.items()]
        lines.append("</table></details>")
    if table.notes:
        lines.append("<ul>" + "".join(f"<li>{escape(note['text'])}</li>" for note in table.notes) + "</ul>")
    lines.append("</div>")
    return "\n".join(lines)
