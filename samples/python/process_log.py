#!/usr/bin/env python3
"""Cleans the log of a plasma etcher: tells what the log lacks, takes sensors' drop-outs and spikes away, fills short gaps,
and makes one row of each wafer and phase.

    process_log.py [LOG.trn] [--out CLEAN.csv] [--plot PICTURE.png]

Without LOG one is made up. Needs pandas. The parts between the `# %%` lines are cells where an editor knows them.
"""
import argparse
import pathlib
import tempfile

import karta_import

import made_up

parser = argparse.ArgumentParser()
parser.add_argument("log", nargs="?")
parser.add_argument("--out", metavar="CLEAN")
parser.add_argument("--plot", metavar="PICTURE")
arguments = parser.parse_args()
scratch = tempfile.TemporaryDirectory()
path = arguments.log or made_up.etcher_log(pathlib.Path(scratch.name))

# %% The log knows more than its numbers: which lot and recipe it was, and what isn't in it.
log = karta_import.read(path)
print(f"lot {log.facts['lot']}, recipe {log.facts['recipe']}: {log.shape[0]} samples of {log.facts['wafers']['value']} wafers")
for note in log.notes:
    if note["code"] != "warning":  # these say the same in sentences
        print("note:", note["text"])

# %% Drop-outs are missing numbers already; how many there are says each column.
frame = log.to_pandas()
wafer, phase, time = frame.columns[:3]
sensors = list(frame.columns[3:])
for name in sensors:
    print(f"{name}: {log[name].missing_count} missing")

# %% Spikes: further from the middle of their wafer and phase than six times what is usual there.
steps = frame.groupby([wafer, phase])[sensors]
middle = steps.transform("median")
usual = (frame[sensors] - middle).abs().groupby(frame[phase]).transform("median")
is_spike = (frame[sensors] - middle).abs() > 6 * 1.4826 * usual
print(f"{int(is_spike.to_numpy().sum())} spikes")
clean = frame.copy()
clean[sensors] = frame[sensors].mask(is_spike)

# %% A gap of one or two samples is filled within its phase; a longer one stays a gap.
clean[sensors] = clean.groupby([wafer, phase])[sensors].transform(lambda values: values.interpolate(limit=2, limit_area="inside"))
print(f"{int(frame[sensors].isna().to_numpy().sum())} missing before, {int(clean[sensors].isna().to_numpy().sum())} behind")

# %% One row a wafer and phase: means, and how long it took.
summary = clean.groupby([wafer, phase])[sensors].mean()
summary.insert(0, "seconds", clean.groupby([wafer, phase])[time].agg(lambda t: t.max() - t.min()))
expected = len(clean[wafer].unique()) * len(clean[phase].unique())
print(f"{len(summary)} of {expected} phases have data")
print(summary.groupby(level=1).mean().round(2).to_string())
if arguments.out:
    summary.round(3).to_csv(arguments.out)

# %% The sensors over the samples, spikes and gaps gone.
if arguments.plot:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    figure, axes = plt.subplots(len(sensors), 1, figsize=(9, 7), layout="constrained", sharex=True)
    for name, ax in zip(sensors, axes):
        ax.plot(frame[name], color="lightgrey", linewidth=3)
        ax.plot(clean[name], linewidth=1)
        ax.set_ylabel(name)
    axes[-1].set_xlabel("sample")
    figure.savefig(arguments.plot)
