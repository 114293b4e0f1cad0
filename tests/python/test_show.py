"""Tables as notebooks and matplotlib show them."""

import re

import pytest

import karta_import


def test_html_has_the_head_of_the_table_and_its_facts(samples):
    shown = karta_import.read(samples / "kinetics.spc")._repr_html_()
    assert "kinetics_1" in shown and "12 rows × 354 columns" in shown
    assert "<summary>Facts</summary>" in shown and "first X" in shown
    assert len(re.findall("<tr>", shown.split("</table>")[0])) == 11  # names and ten rows


def test_html_shows_texts_of_a_file_as_text(tmp_path):
    path = tmp_path / "a.csv"
    path.write_text("<b>,n\n<script>alert(1)</script>,1\n")
    shown = karta_import.read(path)._repr_html_()
    assert "<script>" not in shown and "<b>" not in shown
    assert "&lt;script&gt;" in shown


def test_plot_draws_a_curve_a_spectrum(samples):
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    ax = karta_import.read(samples / "kinetics.spc").plot()
    assert len(ax.lines) == 12
    assert (ax.get_xlabel(), ax.get_ylabel()) == ("wavelength / nm", "absorbance / AU")
    assert ax.get_xlim()[0] < ax.get_xlim()[1]


def test_plot_lets_wavenumbers_fall(samples):
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    table = karta_import.read(samples / "ethanol.jdx")
    assert table.x_unit.lower() in ("cm-1", "1/cm")
    ax = table.plot()
    assert ax.get_xlim()[0] > ax.get_xlim()[1]
