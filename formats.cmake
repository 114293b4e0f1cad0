# The formats, one line each: the reader's source first, then the sources that only it uses; behind CASES
# the folders of its acceptance cases. A new format adds its line here and touches nothing else.
karta_format(text/TextFile CASES text)
karta_format(spreadsheet/Excel2007File spreadsheet/Excel2007Binary spreadsheet/WorkbookPart
             spreadsheet/SharedStringsPart spreadsheet/SharedStrings spreadsheet/SheetPart CASES xlsx xlsb)
karta_format(spreadsheet/ExcelFile spreadsheet/BaseStream spreadsheet/ExcelSharedStrings spreadsheet/ExcelStgStream CASES excel)
karta_format(text/PlanoFile CASES plano)
