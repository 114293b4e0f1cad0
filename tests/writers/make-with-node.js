// Makes the workbooks of tests/writers/run with one of the writers for JavaScript:
//
//     node make-with-node.js WRITER FILE
//
// Status 77 where the writer isn't installed.
'use strict';

const [, , writer, path] = process.argv;

function need(name) {
    try {
        return require(name);
    } catch (error) {
        process.exit(77);
    }
}

const dateTime = new Date(Date.UTC(2021, 0, 31, 13, 42, 30));
const date = new Date(Date.UTC(2021, 0, 31));

function sheetJs(mode) {
    const library = need('xlsx');
    const rows = [['integer', 42], ['float', 1.25], ['tiny float', 1.5e-300], ['text', 'plain'],
        ['non-ASCII text', 'Größe π'], ['blanks and line feed', '  a\nb '], ['empty text', ''],
        ['true', true], ['false', false], ['digits with a leading zero', '00123']];
    const sheet = library.utils.aoa_to_sheet(rows);
    const add = (name, cell) => {
        const row = library.utils.decode_range(sheet['!ref']).e.r + 1;
        library.utils.sheet_add_aoa(sheet, [[name]], {origin: {r: row, c: 0}});
        sheet[library.utils.encode_cell({r: row, c: 1})] = cell;
        sheet['!ref'] = library.utils.encode_range({s: {r: 0, c: 0}, e: {r: row, c: 1}});
    };
    add('date', {t: 'n', v: 44227, z: 'yyyy-mm-dd'});
    add('date-time', {t: 'n', v: 44227.57118055556, z: 'yyyy-mm-dd hh:mm:ss'});
    add('time', {t: 'n', v: 0.5711805555555556, z: 'hh:mm:ss'});
    add('duration of 30 h', {t: 'n', v: 1.25, z: '[h]:mm:ss'});
    add('error', {t: 'e', v: 0x2a, w: '#N/A'});
    add('number of a formula', {t: 'n', f: '1+1', v: 2});
    add('text of a formula', {t: 's', f: '"a"&"b"', v: 'ab'});
    add('truth of a formula', {t: 'b', f: 'TRUE()', v: true});
    add('number under 0 "days"', {t: 'n', v: 3, z: '0 "days"'});
    const book = library.utils.book_new();
    library.utils.book_append_sheet(book, library.utils.aoa_to_sheet([['two sheets', 'b']]), 'Behind');
    library.utils.book_append_sheet(book, sheet, 'Kinds');
    library.utils.book_append_sheet(book, library.utils.aoa_to_sheet([['hidden sheet', 'h']]), 'Hidden');
    book.Workbook = {Sheets: [{}, {}, {Hidden: 1}], WBProps: {date1904: false}};
    library.writeFile(book, path, {bookSST: mode === 'shared strings', compression: true});
}

async function exceljs(mode) {
    const library = need('exceljs');
    const book = mode === 'streaming' ? new library.stream.xlsx.WorkbookWriter({filename: path, useStyles: true})
                                      : new library.Workbook();
    const sheet = book.addWorksheet('Kinds');
    const rows = [['integer', 42], ['float', 1.25], ['tiny float', 1.5e-300], ['text', 'plain'],
        ['non-ASCII text', 'Größe π'], ['blanks and line feed', '  a\nb '], ['empty text', ''],
        ['true', true], ['false', false], ['date', date, 'yyyy-mm-dd'],
        ['date-time', dateTime, 'yyyy-mm-dd hh:mm:ss'], ['time', 0.5711805555555556, 'hh:mm:ss'],
        ['duration of 30 h', 1.25, '[h]:mm:ss'], ['digits with a leading zero', '00123'],
        ['error', {error: '#N/A'}], ['number of a formula', {formula: '1+1', result: 2}],
        ['text of a formula', {formula: '"a"&"b"', result: 'ab'}],
        ['truth of a formula', {formula: 'TRUE()', result: true}],
        ['error of a formula', {formula: 'NA()', result: {error: '#N/A'}}],
        ['rich text', {richText: [{text: 'a'}, {font: {bold: true}, text: 'b'}]}],
        ['number under 0 "days"', 3, '0 "days"']];
    for (const [name, value, code] of rows) {
        const row = sheet.addRow([name, value]);
        if (code) {
            row.getCell(2).numFmt = code;
        }
        if (mode === 'streaming') {
            row.commit();
        }
    }
    const hidden = book.addWorksheet('Hidden', {state: 'hidden'});
    hidden.addRow(['hidden sheet', 'h']);
    const behind = book.addWorksheet('Behind');
    behind.addRow(['two sheets', 'b']);
    if (mode === 'streaming') {
        await book.commit();
    } else {
        await book.xlsx.writeFile(path);
    }
}

const [name, mode] = writer.split(', ');
if (name === 'SheetJS') {
    sheetJs(mode);
} else {
    exceljs(mode);
}
