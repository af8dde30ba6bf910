# Writes the code blocks of Markdown files into files of their own, in the folder
# given by -v folder=...: the page's name, the number of its block of code, and
# the language; what stands in a block without a language, the output of the one
# before, ends in out. Prints the names, one on a line.
/^```/ && file == "" {
  language = substr($0, 4)
  if (page != FILENAME) { page = FILENAME; count = 0 }
  if (language != "") ++count
  name = page
  gsub(/.*\/|\.md$/, "", name)
  name = name "_" count "." (language == "" ? "out" : language)
  file = folder "/" name
  printf "" >file
  print name
  next
}
/^```/ { close(file); file = ""; next }
file != "" { print >file }
