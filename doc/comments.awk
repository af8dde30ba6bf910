# Makes Doxygen's comments of a header's own: of one on lines of its own, for all
# declarations up to the next empty line but destructors and what is deleted,
# and of one behind a member. Indented lines that belong to no list stand as
# they are.

# Adds a line to the comment, within \verbatim or with no character of it taken
# for a command.
function add(line, raw) {
  if (raw != verbatim) {
    comment = comment "/// " (raw ? "\\verbatim" : "\\endverbatim") "\n"
    verbatim = raw
  }
  if (!raw) gsub(/[\\<>%#@&]/, "\\\\&", line)
  comment = comment "///" line "\n"
}

/^ *\/\/( |$)/ {
  if (!inside) comment = list = ""
  inside = 1
  sub(/^ *\/\//, "")
  if (/^ - /) list = 1
  add($0, /^  / && !list)
  next
}

{
  if (inside && verbatim) add("", 0)
  if (/^$/) comment = ""
  if (inside || (begins && !/~|= delete;|^}/)) printf "%s", comment
  inside = 0
  sub(/;  \/\/ /, ";  ///< ")
  print
  if (/{$/) comment = ""
  begins = /[;}]$/
}
