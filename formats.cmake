# The formats, one line each: the reader's source first, then the sources that only it uses; behind CASES
# the folders of its acceptance cases. A new format adds its line here and touches nothing else.
karta_format(text/TextFile CASES text)
karta_format(instrument/BrimroseFile CASES brimrose)
karta_format(instrument/NsasFile CASES nsas)
karta_format(container/UnscramblerFile CASES unscrambler)
karta_format(container/MatFile container/MatElementStream container/MatLevel4 container/MatLevel4Writer
             container/MatLevel5 container/MatSheetLayout CASES mat)
