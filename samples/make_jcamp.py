#!/usr/bin/env python3
"""Makes ethanol.jdx and reaction.jdx: a film's infrared spectrum in plain numbers, and a link of six Raman
spectra in DIF and DUP form. The bands are where a textbook has them; the noise comes from a fixed sequence."""
import math
import os

HERE = os.path.dirname(os.path.abspath(__file__))
SQUEEZED = {False: '@ABCDEFGHI', True: '@abcdefghi'}
DIFFERENCE = {False: '%JKLMNOPQR', True: '%jklmnopqr'}
REPEATED = ' STUVWXYZs'


def noise(state=20240607):
    while True:
        state = (state * 1664525 + 1013904223) % 2 ** 32
        yield state / 2 ** 32 - 0.5


def bands(x, table):
    return sum(h / (1 + ((x - c) / w) ** 2) for c, w, h in table)


def packed(value, letters):
    digits = str(abs(value))
    return letters[value < 0][int(digits[0])] + digits[1:]


def dif_dup_lines(ys, first_x, dx, per_line=40):
    """Ordinates as differences, runs of equal ones counted, each line opened by the last value again."""
    lines, i = [], 0
    while i < len(ys):
        part = ys[i:i + per_line]
        tokens = [packed(part[0], SQUEEZED)]
        differences = [b - a for a, b in zip(part, part[1:])]
        k = 0
        while k < len(differences):
            run = 1
            while k + run < len(differences) and run < 9 and differences[k + run] == differences[k]:
                run += 1
            tokens.append(packed(differences[k], DIFFERENCE) + (REPEATED[run] if run > 1 else ''))
            k += run
        lines.append(f'{first_x + i * dx:g}' + ''.join(tokens))
        if i + per_line >= len(ys):
            if differences:
                lines.append(f'{first_x + (len(ys) - 1) * dx:g}' + packed(ys[-1], SQUEEZED))
            break
        i += per_line - 1
    return lines


def write(name, lines):
    with open(os.path.join(HERE, name), 'w', newline='') as file:
        file.write('\r\n'.join(lines) + '\r\n')


def ethanol(random):
    first, last, points = 4000, 600, 851
    dx = (last - first) / (points - 1)
    table = [(3340, 110, 0.72), (2973, 14, 0.61), (2928, 16, 0.35), (2880, 14, 0.33), (1450, 18, 0.17),
             (1380, 14, 0.2), (1090, 12, 0.5), (1050, 11, 0.93), (880, 9, 0.55)]
    ys = [round((bands(first + i * dx, table) + 0.02 + 0.002 * next(random)) * 10000) for i in range(points)]
    lines = ['##TITLE= Ethanol, liquid film', '##JCAMP-DX= 4.24', '##DATA TYPE= INFRARED SPECTRUM',
             '##ORIGIN= sample of KARTA import', '##OWNER= public domain', '##DATE= 24/06/07', '##TIME= 09:41:00',
             '##XUNITS= 1/CM', '##YUNITS= ABSORBANCE', '##XFACTOR= 1', '##YFACTOR= 0.0001',
             f'##FIRSTX= {first}', f'##LASTX= {last}', f'##NPOINTS= {points}', '##XYDATA= (X++(Y..Y))']
    for i in range(0, points, 10):
        lines.append(' '.join([f'{first + i * dx:g}'] + [str(y) for y in ys[i:i + 10]]))
    write('ethanol.jdx', lines + ['##END='])


def reaction(random):
    first, last, points, spectra = 200, 1800, 801, 6
    dx = (last - first) / (points - 1)
    lines = ['##TITLE= Esterification, followed by Raman', '##JCAMP-DX= 5.01', '##DATA TYPE= LINK',
             f'##BLOCKS= {spectra}']
    for k in range(spectra):
        done = 1 - math.exp(-k / 2)
        table = [(620, 9, 60), (893, 11, 420 * (1 - done)), (847, 10, 380 * done), (1050, 9, 150),
                 (1450, 14, 260), (1735, 12, 300 * done), (1668, 15, 180 * (1 - done))]
        ys = [round(bands(first + i * dx, table) + 3 + 2 * next(random)) for i in range(points)]
        lines += [f'##TITLE= {10 * k} min', '##JCAMP-DX= 5.01', '##DATA TYPE= RAMAN SPECTRUM', '##DATA CLASS= XYDATA',
                  '##XUNITS= 1/CM', '##YUNITS= ARBITRARY UNITS', '##XFACTOR= 1', '##YFACTOR= 1', f'##FIRSTX= {first}',
                  f'##LASTX= {last}', f'##NPOINTS= {points}', '##XYDATA= (X++(Y..Y))']
        lines += dif_dup_lines(ys, first, dx) + ['##END=']
    write('reaction.jdx', lines + ['##END='])


if __name__ == '__main__':
    sequence = noise()
    ethanol(sequence)
    reaction(sequence)
