# Makes a source of files whose text the program carries, each a constant of the header that TARGET belongs to:
#
#     cmake -D OUTPUT=FILE -D HEADER=H -D "TEXTS=Name=FILE;Name=FILE" -P EmbedTexts.cmake
#
# A comment that names a source map is left out: a page that is whole in itself asks for nothing.
set(source "#include \"${HEADER}\"\n")
# A literal has its limit, and the compiler joins neighbours.
set(piece_size 60000)
foreach(text ${TEXTS})
  string(REGEX MATCH "^([^=]*)=(.*)$" whole "${text}")
  set(name ${CMAKE_MATCH_1})
  file(READ "${CMAKE_MATCH_2}" content)
  string(REGEX REPLACE "(//|/\\*)# sourceMappingURL=[^\n]*" "" content "${content}")
  string(APPEND source "\nconst std::string_view PageText::${name} =\n")
  string(LENGTH "${content}" length)
  set(at 0)
  while(at LESS length)
    string(SUBSTRING "${content}" ${at} ${piece_size} piece)
    string(APPEND source "R\"=page=(${piece})=page=\"\n")
    math(EXPR at "${at} + ${piece_size}")
  endwhile()
  string(APPEND source ";\n")
endforeach()
file(WRITE "${OUTPUT}" "${source}")
