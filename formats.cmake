# The formats, one line each: the reader's source first, then the sources that only it uses; behind CASES
# the folders of its acceptance cases. A new format adds its line here and touches nothing else.
karta_format(text/TextFile CASES text)
karta_format(process/BrooksideFile process/BrooksideFields process/BrooksideFileSet process/BrooksidePhases
             process/BrooksideSamples process/BrooksideStream process/BrooksideTransition process/BrooksideWarnings
             process/SAReadBrooksideData CASES brookside)
karta_format(process/BrooksideXML process/BrooksideDom process/BrooksideGrammar process/BufferReader CASES brooksidexml)
