#!/usr/bin/env python3
"""Moisture of flour from near-infrared spectra: a folder of spectra and a sheet of reference values become a PLS
model, and its error of prediction.

    calibrate.py [--plot PICTURE.png]

Needs scikit-learn and pandas. The parts between the `# %%` lines are cells where an editor knows them.
"""
import argparse
import pathlib
import tempfile

import karta_import
import numpy
from sklearn.cross_decomposition import PLSRegression
from sklearn.model_selection import KFold, cross_val_predict

import made_up

parser = argparse.ArgumentParser()
parser.add_argument("--plot", metavar="PICTURE")
arguments = parser.parse_args()
scratch = tempfile.TemporaryDirectory()
folder = pathlib.Path(scratch.name)
made_up.flour_spectra(folder)

# %% What is there? Two instruments measured, and their axes differ:
for name in ("flour-001.spc", "flour-003.spc"):
    facts = karta_import.info(folder / name)["facts"]
    print(name, facts["points"]["value"], "points, every", facts["spacing"]["value"], facts["spacing"]["unit"])

# %% All spectra on the axis that all have; a file that can't be read is told at the end, and doesn't end the run.
tables = karta_import.scan(folder / "*.spc", grid="common", on_error="collect")
batches = list(tables)
spectra = numpy.concatenate([batch.values for batch in batches])
files = [pathlib.Path(file).name for batch in batches for file in batch["file"].to_list()]
nm = batches[0].x
print(f"{len(files)} spectra of {nm.size} points, {nm[0]:g} to {nm[-1]:g} {batches[0].x_unit}")
for failure in tables.errors:
    print("left out:", pathlib.Path(failure.file).name)

# %% The moisture of each spectrum, by its file's name.
reference = karta_import.read(folder / "reference.csv").to_pandas().set_index("file")["moisture"]
moisture = reference.loc[files].to_numpy(float)


# %% Scatter moves and stretches spectra; a standard normal variate takes it out, a spectrum by itself.
def snv(values):
    return (values - values.mean(axis=1, keepdims=True)) / values.std(axis=1, keepdims=True)


x = snv(spectra.astype(float))

# %% How many components? As few as come within a tenth of the least error of prediction.
folds = KFold(10, shuffle=True, random_state=1)


def predictions(components):
    return cross_val_predict(PLSRegression(components, scale=False), x, moisture, cv=folds).ravel()


def rmse(predicted):
    return float(numpy.sqrt(numpy.mean((predicted - moisture) ** 2)))


errors = {components: rmse(predictions(components)) for components in range(1, 9)}
for components, error in errors.items():
    print(f"{components} components: {error:.3f} %")
best = next(components for components, error in errors.items() if error < 1.1 * min(errors.values()))
predicted = predictions(best)
r2 = 1 - numpy.sum((predicted - moisture) ** 2) / numpy.sum((moisture - moisture.mean()) ** 2)
print(f"{best} components, RMSECV {errors[best]:.3f} % moisture, R2 {r2:.4f}")

# %% The model of all of them, for spectra to come.
model = PLSRegression(best, scale=False).fit(x, moisture)
newcomer = karta_import.read(folder / "flour-001.spc")
print(f"flour-001.spc has {model.predict(snv(newcomer.values.astype(float))).item():.1f} % moisture")

# %% Predicted and measured, beside the spectra.
if arguments.plot:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    figure, (left, right) = plt.subplots(1, 2, figsize=(10, 4), layout="constrained")
    batches[0].plot(left, linewidth=0.5)
    right.plot(moisture, predicted, "o")
    right.axline((moisture.min(), moisture.min()), slope=1, color="grey")
    right.set(xlabel="moisture measured / %", ylabel="moisture predicted / %")
    figure.savefig(arguments.plot)
