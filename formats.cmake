# The formats, one entry each: the reader's source first, then the sources that only it uses; behind CASES
# the folders of its acceptance cases. A new format adds its line here and touches nothing else.
karta_format(text/TextFile text/DelimitedText text/DelimitedOptions text/DialectSniffer text/DialectRefiner text/RecordScanner
             text/LinePiece text/JsonFields text/SeparatedFields text/NumberMarks text/TypedField text/PieceReaders
             text/LinePiece text/FieldMarks text/JsonFields text/NumberMarks text/TypedField text/PieceReaders
             text/TextHead text/TextSource text/TextEncoding text/ColumnTypes text/FieldForm text/FieldDate
             text/ValueForm CASES text)
karta_format(text/CsvFile text/CsvParser text/CsvScanner CASES csv)
karta_format(text/DIFFile CASES dif)
karta_format(text/DIFFileOEM)
karta_format(text/PlanoFile CASES plano)
karta_format(text/ThermoSIEVEFile text/ReportCells text/ThermoMirroredReadSpreadSheetData text/TurnedReport CASES sieve)
karta_format(spreadsheet/NumberFormats spreadsheet/CellErrors spreadsheet/SheetChoice) # what the readers of workbooks share
karta_format(spreadsheet/ExcelFile spreadsheet/BaseStream spreadsheet/BiffCell spreadsheet/BiffRules spreadsheet/BiffText spreadsheet/ExcelSharedStrings
             spreadsheet/ExcelStgStream spreadsheet/RecordBytes CASES excel)
karta_format(spreadsheet/Excel2007File spreadsheet/BinaryBook spreadsheet/Book spreadsheet/IsoTime
             spreadsheet/PlainCell spreadsheet/RecordStream spreadsheet/SharedStrings spreadsheet/SharedStringsPart
             spreadsheet/SheetList spreadsheet/SheetPart spreadsheet/WorkbookCells spreadsheet/WorkbookPackage
             spreadsheet/WorkbookPart spreadsheet/XmlBook CASES xlsx xlsb)
karta_format(spreadsheet/LotusFile CASES lotus)
karta_format(instrument/USDBase instrument/USDOptions) # what the readers of spectra on one axis share
karta_format(instrument/SpectrumTable instrument/AxisSelection instrument/SpectrumTexts) # their table and texts in the complete reading
karta_format(instrument/GalacticSPCFile instrument/SPCContents instrument/SPCDate instrument/SPCHeader instrument/SPCTable
             instrument/SPCUnits CASES spc)
karta_format(instrument/JCAMPFile instrument/JCAMPDecoder instrument/JCAMPDocument instrument/JCAMPInterPolate
             instrument/JCAMPLabels instrument/JCAMPSeries instrument/JCAMPSpectra instrument/JCAMPStream
             instrument/JCAMPTable CASES jcamp)
karta_format(instrument/BrukerOPUS instrument/OPUSDirectory instrument/OPUSFile instrument/OPUSParameters instrument/OPUSParts
             instrument/OPUSReader instrument/OPUSSelection CASES opus)
karta_format(instrument/BrukerOPUSInterpolated instrument/InterPolateValues)
karta_format(instrument/ChemStationFile instrument/ChemStationHeader instrument/ChemStationParts
             instrument/ChemStationSignal CASES chemstation)
karta_format(instrument/BrimroseFile CASES brimrose)
karta_format(instrument/NsasFile instrument/NsasHeader instrument/NsasSpectra CASES nsas)
karta_format(process/BrooksideFile process/BrooksideFileSet process/BrooksidePhases
             process/BrooksideSamples process/BrooksideStream process/BrooksideTransition process/BrooksideWarnings
             process/SAReadBrooksideData process/SampleRow CASES brookside)
karta_format(process/BrooksideXML process/BrooksideGrammar process/BrooksideModel
             process/BrooksideParse process/BrooksideTree
             process/BufferReader process/SampleBlock CASES brooksidexml)
karta_format(container/MatFile container/Mat4Arrays container/Mat4Content container/Mat5Arrays container/Mat5Content
             container/MatArray container/MatArrays container/MatContent container/MatElementStream
             container/MatLevel4 container/MatLevel4Writer container/MatLevel5 container/MatNumbers
             container/MatSheetLayout container/MatTable container/MatText container/MatWorkspace CASES mat)
karta_format(container/NetCDFFile container/NetCDF container/ClassicHeader container/ClassicFile
             container/ClassicTables container/ClassicValues container/AndiFileReader container/AndiTimes
             container/MvaCDFFileReader CASES netcdf andi mvacdf)
karta_format(container/UnscramblerFile CASES unscrambler)
karta_format(container/KpfFileImport)
