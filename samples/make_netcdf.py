#!/usr/bin/env python3
"""Makes the samples of netCDF: a chromatogram (chromatogram.cdf) and a table of spectra (spectra.nc).

usage: make_netcdf.py [FOLDER]     the folder to write to, samples' own by default

The bytes are those of the netCDF classic format; nothing but the standard library is needed.
"""
import math
import os
import struct
import sys

CHAR, INT, FLOAT, DOUBLE = 2, 4, 5, 6
LETTERS = {INT: 'i', FLOAT: 'f', DOUBLE: 'd'}


def padded(data):
    return data + b'\0' * (-len(data) % 4)


def name(text):
    return struct.pack('>I', len(text)) + padded(text.encode())


def values(kind, data):
    if kind == CHAR:
        return data.encode()
    return struct.pack('>%d%s' % (len(data), LETTERS[kind]), *data)


def attributes(items):
    if not items:
        return struct.pack('>II', 0, 0)
    parts = [name(key) + struct.pack('>II', CHAR, len(text)) + padded(text.encode()) for key, text in items]
    return struct.pack('>II', 12, len(items)) + b''.join(parts)


def netcdf(dimensions, texts, variables):
    """`variables`: (name, dimensions, type, values, attributes) each."""
    numbers = {key: i for i, (key, _) in enumerate(dimensions)}

    def header(begins):
        out = b'CDF\1' + struct.pack('>I', 0)
        out += struct.pack('>II', 10, len(dimensions))
        out += b''.join(name(key) + struct.pack('>I', length) for key, length in dimensions)
        out += attributes(texts) + struct.pack('>II', 11, len(variables))
        for (key, shape, kind, data, items), begin in zip(variables, begins):
            out += name(key) + struct.pack('>I', len(shape))
            out += b''.join(struct.pack('>I', numbers[dimension]) for dimension in shape)
            out += attributes(items) + struct.pack('>III', kind, len(padded(values(kind, data))), begin)
        return out

    begins = []
    end = len(header([0] * len(variables)))
    for _, _, kind, data, _ in variables:
        begins.append(end)
        end += len(padded(values(kind, data)))
    return header(begins) + b''.join(padded(values(kind, data)) for _, _, kind, data, _ in variables)


def peak(x, place, height, width):
    return height * math.exp(-((x - place) / width) ** 2)


def chromatogram(points=600, interval=0.5, delay=2.0):
    peaks = [(45.0, 120.0, 3.0), (88.0, 340.0, 4.0), (140.0, 75.0, 5.0), (231.0, 210.0, 6.0)]
    trace = [0.4 + 0.002 * i + sum(peak(delay + i * interval, *p) for p in peaks) for i in range(points)]
    return netcdf(
        [('point_number', points), ('peak_number', len(peaks))],
        [('dataset_completeness', 'C1+C2'), ('aia_template_revision', '1.0.1'), ('netcdf_revision', '2.3.2'),
         ('languages', 'English'), ('injection_date_time_stamp', '20240314091500+0000'),
         ('sample_name', 'Orange peel extract 3'), ('separation_experiment_type', 'gas chromatography'),
         ('detector_name', 'FID'), ('detector_unit', 'mV'), ('retention_unit', 'seconds')],
        [('actual_run_time_length', [], FLOAT, [points * interval], []),
         ('actual_sampling_interval', [], FLOAT, [interval], []),
         ('actual_delay_time', [], FLOAT, [delay], []),
         ('ordinate_values', ['point_number'], FLOAT, trace, [('uniform_sampling_flag', 'Y')]),
         ('peak_retention_time', ['peak_number'], FLOAT, [p[0] for p in peaks], []),
         ('peak_start_time', ['peak_number'], FLOAT, [p[0] - 3 * p[2] for p in peaks], []),
         ('peak_end_time', ['peak_number'], FLOAT, [p[0] + 3 * p[2] for p in peaks], [])])


def spectra(observations=12, variables=80):
    text = 16
    names = ['Barley %02d' % (i + 1) for i in range(observations)]
    rows = []
    for i in range(observations):
        water, protein = 0.3 + 0.02 * i, 0.25 - 0.01 * i
        rows += [0.15 + peak(x, 1450, water, 60) + peak(x, 1200, protein, 90) for x in range(1100, 1100 + 8 * variables, 8)]
    rows[5 * variables + 7] = -100000.0
    return netcdf(
        [('sequence_no', observations), ('number_data_points', variables), ('string_len', text),
         ('number_variable_descriptions', 1)],
        [('mva_template_revision', '1.0'), ('raw_data_mva_format', 'double'), ('missing_value', '-100000')],
        [('observation', ['sequence_no', 'number_data_points'], DOUBLE, rows, []),
         ('vardescr_startcol', ['number_variable_descriptions'], INT, [1], []),
         ('vardescr_endcol', ['number_variable_descriptions'], INT, [variables], []),
         ('vardescr_startval', ['number_variable_descriptions'], DOUBLE, [1100], []),
         ('vardescr_endval', ['number_variable_descriptions'], DOUBLE, [1100 + 8 * (variables - 1)], []),
         ('name_of_measurement', ['sequence_no', 'string_len'], CHAR, ''.join(n.ljust(text, '\0') for n in names), []),
         ('dectime_of_measurement', ['sequence_no'], DOUBLE, [45365.375 + i / 96 for i in range(observations)], [])])


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    for file_name, data in [('chromatogram.cdf', chromatogram()), ('spectra.nc', spectra())]:
        with open(os.path.join(folder, file_name), 'wb') as file:
            file.write(data)


if __name__ == '__main__':
    main()
