#!/usr/bin/env python3
"""Makes the workbook samples excel2007.xlsx and excel2007.xlsb: a moisture calibration of nine samples and
its summary. With a folder as argument, makes the seeds of the fuzz targets below it instead.

usage: make_excel2007.py [SEED_FOLDER]
"""
import os
import struct
import sys
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
HEADER = ['Sample', 'Taken', 'Reference (%)', 'Predicted (%)', 'Accepted']
# Serial day numbers: 45413 is 2024-05-01.
ROWS = [
    ('wheat 01', 45413.375, 12.41, 12.38, True),
    ('wheat 02', 45413.40625, 12.87, 12.91, True),
    ('wheat 03', 45413.5, 13.05, 13.02, True),
    ('barley 01', 45414.375, 11.62, 11.57, True),
    ('barley 02', 45414.4375, 11.98, 12.06, True),
    ('barley 03', 45414.5625, 12.2, 12.77, False),
    ('oats 01', 45415.375, 10.74, 10.81, True),
    ('oats 02', 45415.416666666664, 11.03, 11.01, True),
    ('oats 03', 45415.625, 11.4, None, False),
]
SUMMARY = [('Samples', 9), ('Bias', 0.0775), ('RMSEP', 0.2083)]
TEXTS = HEADER + [row[0] for row in ROWS] + [row[0] for row in SUMMARY]
DATE_STYLE = 1

RELATIONSHIPS = ('<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
                 '<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/'
                 'worksheet" Target="worksheets/sheet1.{0}"/><Relationship Id="rId2" Type="http://schemas.'
                 'openxmlformats.org/officeDocument/2006/relationships/worksheet" Target="worksheets/sheet2.{0}"/>'
                 '</Relationships>')
MAIN = 'http://schemas.openxmlformats.org/spreadsheetml/2006/main'


def xml_cell(column, row, value):
    place = f'{"ABCDE"[column]}{row}'
    if value is None:
        return ''
    if isinstance(value, bool):
        return f'<c r="{place}" t="b"><v>{int(value)}</v></c>'
    if isinstance(value, str):
        return f'<c r="{place}" t="s"><v>{TEXTS.index(value)}</v></c>'
    style = f' s="{DATE_STYLE}"' if value > 40000 else ''
    return f'<c r="{place}"{style}><v>{value!r}</v></c>'


def xml_sheet(rows):
    body = ''
    for number, row in enumerate(rows, 1):
        cells = ''.join(xml_cell(column, number, value) for column, value in enumerate(row))
        body += f'<row r="{number}" spans="1:{len(row)}">{cells}</row>'
    last = f'{"ABCDE"[len(rows[0]) - 1]}{len(rows)}'
    return f'<worksheet xmlns="{MAIN}"><dimension ref="A1:{last}"/><sheetData>{body}</sheetData></worksheet>'


def xml_parts():
    strings = ''.join(f'<si><t>{text}</t></si>' for text in TEXTS)
    return {
        'xl/workbook.xml': f'<workbook xmlns="{MAIN}" xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/'
                           'relationships"><sheets><sheet name="Calibration" sheetId="1" r:id="rId1"/>'
                           '<sheet name="Summary" sheetId="2" r:id="rId2"/></sheets></workbook>',
        'xl/_rels/workbook.xml.rels': RELATIONSHIPS.format('xml'),
        'xl/sharedStrings.xml': f'<sst xmlns="{MAIN}" count="{len(TEXTS)}" uniqueCount="{len(TEXTS)}">{strings}</sst>',
        'xl/styles.xml': f'<styleSheet xmlns="{MAIN}"><numFmts count="1"><numFmt numFmtId="164" '
                         'formatCode="yyyy-mm-dd hh:mm"/></numFmts><cellXfs count="2"><xf numFmtId="0"/>'
                         '<xf numFmtId="164"/></cellXfs></styleSheet>',
        'xl/worksheets/sheet1.xml': xml_sheet([tuple(HEADER)] + ROWS),
        'xl/worksheets/sheet2.xml': xml_sheet(SUMMARY),
    }


def short_number(number):
    return bytes([number]) if number < 128 else bytes([number & 127 | 128, number >> 7])


def record(number, data=b''):
    return short_number(number) + short_number(len(data)) + data


def wide(text):
    return struct.pack('<I', len(text)) + text.encode('utf-16-le')


def binary_cell(column, value):
    head = struct.pack('<II', column, DATE_STYLE if isinstance(value, float) and value > 40000 else 0)
    if value is None:
        return b''
    if isinstance(value, bool):
        return record(4, head + bytes([value]))
    if isinstance(value, str):
        return record(7, head + struct.pack('<I', TEXTS.index(value)))
    if isinstance(value, int):
        return record(2, head + struct.pack('<I', value << 2 | 2))
    return record(5, head + struct.pack('<d', value))


def binary_sheet(rows):
    body = record(148, struct.pack('<IIII', 0, len(rows) - 1, 0, len(rows[0]) - 1)) + record(145)
    for number, row in enumerate(rows):
        body += record(0, struct.pack('<I', number))
        body += b''.join(binary_cell(column, value) for column, value in enumerate(row))
    return body + record(146)


def binary_parts():
    def sheet(number, name):
        return record(156, struct.pack('<II', 0, number) + wide(f'rId{number}') + wide(name))
    return {
        'xl/workbook.bin': record(143) + sheet(1, 'Calibration') + sheet(2, 'Summary') + record(144),
        'xl/_rels/workbook.bin.rels': RELATIONSHIPS.format('bin'),
        'xl/sharedStrings.bin': record(159, struct.pack('<II', len(TEXTS), len(TEXTS))) +
                                b''.join(record(19, b'\0' + wide(text)) for text in TEXTS) + record(160),
        'xl/styles.bin': record(615, struct.pack('<I', 1)) +
                         record(44, struct.pack('<H', 164) + wide('yyyy-mm-dd hh:mm')) + record(616) +
                         record(617, struct.pack('<I', 2)) + record(47, struct.pack('<HH', 0, 0)) +
                         record(47, struct.pack('<HH', 0, 164)) + record(618),
        'xl/worksheets/sheet1.bin': binary_sheet([tuple(HEADER)] + ROWS),
        'xl/worksheets/sheet2.bin': binary_sheet(SUMMARY),
    }


def package(path, parts, kind, compression=zipfile.ZIP_DEFLATED):
    types = ('<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
             f'<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
             f'<Default Extension="{kind}" ContentType="application/{"xml" if kind == "xml" else "octet-stream"}"/>'
             '</Types>')
    root = ('<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship '
            'Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" '
            f'Target="xl/workbook.{kind}"/></Relationships>')
    with zipfile.ZipFile(path, 'w', compression) as archive:
        for name, part in [('[Content_Types].xml', types), ('_rels/.rels', root)] + list(parts.items()):
            archive.writestr(zipfile.ZipInfo(name, (2024, 5, 6, 8, 0, 0)), part, compression)


def write(folder, target, name, part):
    os.makedirs(os.path.join(folder, target), exist_ok=True)
    with open(os.path.join(folder, target, name), 'wb') as file:
        file.write(part if isinstance(part, bytes) else part.encode())


def make_seeds(folder):
    xml, binary = xml_parts(), binary_parts()
    for target, parts, kind in (('excel2007-xlsx', xml, 'xml'), ('excel2007-xlsb', binary, 'bin')):
        os.makedirs(os.path.join(folder, target), exist_ok=True)
        package(os.path.join(folder, target, 'stored'), parts, kind, zipfile.ZIP_STORED)
        package(os.path.join(folder, target, 'deflated'), parts, kind)
    write(folder, 'excel2007-sheet-xlsx', 'calibration', xml['xl/worksheets/sheet1.xml'])
    write(folder, 'excel2007-sheet-xlsx', 'odd', '<!DOCTYPE a [<!ENTITY e "1"><!ATTLIST c s CDATA "1">]><sheetData>'
          '<row spans="1:2 4:9"><c><v>&e;</v></c><c t="b"><v><![CDATA[0]]></v></c><c t="s"><v>1</v></c></row><row r="7">'
          '<c r="XFD7" t="str"><v>x</v></c></row></sheetData>')
    write(folder, 'excel2007-strings-xlsx', 'texts', xml['xl/sharedStrings.xml'])
    write(folder, 'excel2007-strings-xlsx', 'runs', '<sst><si><r><rPr><b/></rPr><t>a</t></r><rPh><t>b</t></rPh></si>'
          '<si><t>c<!-- d --></t><rPh><t>e</t></rPh></si><si/></sst>')
    write(folder, 'excel2007-sheet-xlsb', 'calibration', binary['xl/worksheets/sheet1.bin'])
    cell = struct.pack('<II', 0, 1)
    write(folder, 'excel2007-sheet-xlsb', 'odd', record(148, struct.pack('<IIII', 0, 9, 0, 9)) + record(145) +
          record(0, struct.pack('<I', 3)) + record(1, cell) + record(3, cell + b'\x2a') + record(37) + record(99) +
          record(38) + record(8, cell + wide('text')) + record(9, cell + struct.pack('<d', 1.5)) +
          record(10, cell + b'\1') + record(11, cell + b'\7') + record(427) + record(6, cell) + record(146))
    write(folder, 'excel2007-strings-xlsb', 'texts', binary['xl/sharedStrings.bin'])
    write(folder, 'excel2007-styles-xlsb', 'styles', binary['xl/styles.bin'])
    write(folder, 'excel2007-workbook-xlsb', 'workbook', binary['xl/workbook.bin'])


if __name__ == '__main__':
    if len(sys.argv) > 1:
        make_seeds(sys.argv[1])
    else:
        package(os.path.join(HERE, 'excel2007.xlsx'), xml_parts(), 'xml')
        package(os.path.join(HERE, 'excel2007.xlsb'), binary_parts(), 'bin')
