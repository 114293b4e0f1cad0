# The formats, one line each: the reader's source first, then the sources that only it uses; behind CASES
# the folders of its acceptance cases. A new format adds its line here and touches nothing else.
karta_format(text/TextFile CASES text)
karta_format(instrument/USDBase instrument/USDOptions)
karta_format(container/NetCDFFile container/NetCDF container/ClassicHeader container/AndiFileReader
             container/MvaCDFFileReader CASES netcdf andi mvacdf)
karta_format(container/KpfFileImport)
