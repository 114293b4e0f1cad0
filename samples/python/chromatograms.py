#!/usr/bin/env python3
"""Compares chromatograms: two batches of an extract with the standard. Moves them onto each other, takes the
baseline away, finds the peaks, and tells whose areas differ.

    chromatograms.py [--plot PICTURE.png]

Needs numpy alone. The parts between the `# %%` lines are cells where an editor knows them.
"""
import argparse
import pathlib
import tempfile

import karta_import
import numpy

import made_up

parser = argparse.ArgumentParser()
parser.add_argument("--plot", metavar="PICTURE")
arguments = parser.parse_args()
scratch = tempfile.TemporaryDirectory()
folder = pathlib.Path(scratch.name)
made_up.orange_chromatograms(folder)

# %% Each file is a table of one row; its points are the trace, its axis the time.
NAMES = ["standard", "batch-1", "batch-2"]
runs = {name: karta_import.read(folder / f"{name}.cdf") for name in NAMES}
for name, run in runs.items():
    print(f"{name}: {run.x.size} points, {run.x[0]:g} to {run.x[-1]:g} {run.x_unit}, {run.y_quantity} in {run.y_unit}")
seconds = runs["standard"].x
step = seconds[1] - seconds[0]


# %% The baseline: a straight line between the lowest parts of the first and the last tenth.
def without_baseline(trace):
    tenth = trace.size // 10
    first, last = numpy.median(trace[:tenth]), numpy.median(trace[-tenth:])
    middle = tenth / 2
    return trace - numpy.interp(numpy.arange(trace.size), [middle, trace.size - middle], [first, last])


# %% On the standard's times: the shift at which they look most alike, of up to 15 s either way.
def shift_of(trace, standard, most=30):
    shifts = range(-most, most + 1)
    return max(shifts, key=lambda shift: numpy.dot(numpy.roll(trace, -shift), standard))


traces = {name: without_baseline(run.values[0].astype(float)) for name, run in runs.items()}
shifts = {name: shift_of(trace, traces["standard"]) for name, trace in traces.items()}
aligned = {name: numpy.roll(trace, -shifts[name]) for name, trace in traces.items()}
for name in NAMES[1:]:
    print(f"{name} is {shifts[name] * step:g} s late")


# %% Peaks: where any trace stands out of its noise, from the rise to the fall.
def peaks_of(trace, height=3.0):
    above = numpy.flatnonzero(numpy.diff(numpy.concatenate([[0], trace > height, [0]])))
    return [(first, last) for first, last in above.reshape(-1, 2) if last - first > 5]


peaks = peaks_of(numpy.max(list(aligned.values()), axis=0))
print(f"{len(peaks)} peaks")
print("  time / s" + "".join(f"{name:>12}" for name in NAMES))
for first, last in peaks:
    areas = [float(aligned[name][first:last].sum() * step) for name in NAMES]
    place = first + int(numpy.max(list(aligned.values()), axis=0)[first:last].argmax())
    told = "".join(f"{round(area):12}" for area in areas)
    differing = [name for name, area in zip(NAMES[1:], areas[1:]) if abs(area - areas[0]) > 0.1 * max(areas)]
    is_new = areas[0] < 0.05 * max(areas)
    remark = ", ".join(f"{name} {'has it, the standard has not' if is_new else 'differs'}" for name in differing)
    print(f"{seconds[place]:10.1f}{told}   {remark}".rstrip())

# %% The traces one over the other.
if arguments.plot:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    figure, (above, below) = plt.subplots(2, 1, figsize=(9, 6), layout="constrained", sharex=True)
    for name in NAMES:
        runs[name].plot(above, label=name, linewidth=1)
        below.plot(seconds, aligned[name], label=name, linewidth=1)
    above.set_title("as measured")
    below.set_title("aligned, without baselines")
    below.set(xlabel="time / s", ylabel="FID / mV")
    above.legend()
    figure.savefig(arguments.plot)
