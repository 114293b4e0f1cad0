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


def _names(table: Table) -> list[str]:
    block = table._table.block
    names = [f"{c.name} ({c.unit})" if c.unit else c.name for c in table.columns]
    if block is None:
        return names
    place = table._table.block_place
    points = _shown_points(names, place, block.points, block)
    return points


def _shown_points(names: list[str], place: int, points: int, block: Any) -> list[str]:
    made = names[:place]
    wanted = set(_shown_columns(len(names) + points))
    for point in range(points):
        made.append(block.point_name(point) if place + point in wanted else "")
    return made + names[place:]


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
    names = _names(table)
    lines = ["<div><table>", "<thead>", _row([escape(names[c]) if c >= 0 else "…" for c in shown], "th")]
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
