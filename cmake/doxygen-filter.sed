# Makes documentation of the plain comments in headers, and takes from them what doxygen would read
# as commands.
/^[[:space:]]*\/\/\|[^:]\/\/ /{
  s/\\/\\\\/g
  s/@/\\@/g
  s/[<>&#%]/\\&/g
}
s,^\([[:space:]]*\)//\( \|$\),\1///\2,
s,^\([^/]*[;{\,]\) *// ,\1 ///\\< ,
s,///\\<,///<,
