# Makes the Markdown tables from the figures, which are lines of figure,
# library, operation, document and value; all means are geometric. With
# -v chart=FILE it also writes the data of the chart.

BEGIN {
  FS = "\t"
  library_count = split("vorn rapidjson cjson json-c jansson nlohmann jsoncpp",
                        libraries, " ")
  split("this library|RapidJSON|cJSON|json-c|Jansson|nlohmann/json|JsonCpp",
        library_titles, "|")
  operation_count = split("parse write-compressed write-formatted clone " \
                          "compare", operations, " ")
  split("parse and release|write compressed|write formatted|" \
        "clone and release|compare", operation_titles, "|")
}

$1 == "version" { version[$2] = $5; next }
$1 == "bytes" { documents = documents (documents ? ", " : "") $4 " (" $5 ")" }
$1 == "size" { size[$2, $3] = $5; next }
{
  key = $1 SUBSEP $2 SUBSEP $3
  logarithms[key] += log($5 > 0 ? $5 : 1e-9)
  ++counts[key]
  value[$1, $4] = $5
}

# Whether there is such a figure, and the mean of it over the documents.
function known(figure, library, operation) {
  return (figure, library, operation) in counts
}
function mean(figure, library, operation,  key) {
  key = figure SUBSEP library SUBSEP operation
  return exp(logarithms[key] / counts[key])
}

# A number with three significant digits.
function digits(number) {
  if (number >= 99.95) return sprintf("%.0f", number)
  if (number >= 9.995) return sprintf("%.1f", number)
  if (number >= 0.9995) return sprintf("%.2f", number)
  return sprintf("%.3f", number)
}

function figure_of(figure, library, operation) {
  return known(figure, library, operation) \
    ? digits(mean(figure, library, operation)) : "-"
}

# One mean as a multiple of another.
function ratio(figure, library, operation, base) {
  return mean(figure, library, operation) / mean(figure, base, operation)
}

function line(columns,  i, cells) {
  for (i = 1; i <= columns; ++i) cells = cells "|---"
  print cells "|"
}

# A row for each operation: this library's mean, and the multiples of it.
function compared(figure, unit,  i, j, row) {
  for (i = 1; i <= operation_count; ++i) {
    row = "| " operation_titles[i] ", " unit " | " \
      figure_of(figure, "vorn", operations[i])
    for (j = 2; j <= library_count; ++j) {
      row = row " | x " \
        digits(ratio(figure, libraries[j], operations[i], "vorn"))
    }
    print row " |"
  }
}

# A row of means, and this library's without the memory of the monitors.
function absolute(figure, operation, title,  j, row) {
  row = "| " title " | " figure_of(figure, "vorn", operation) \
    " (" figure_of(figure "-apart", "vorn", operation) ")"
  for (j = 2; j <= library_count; ++j) {
    row = row " | " figure_of(figure, libraries[j], operation)
  }
  print row " |"
}

# A row of sizes, where they were measured.
function sizes(target,  j, row) {
  if (!(("vorn", target) in size)) return
  row = "| shared object, bytes, " target
  for (j = 1; j <= library_count; ++j) {
    row = row " | " ((libraries[j], target) in size \
      ? size[libraries[j], target] : "-")
  }
  print row " |"
}

function side_by_side(  j, row) {
  row = "| "
  for (j = 1; j <= library_count; ++j) {
    row = row " | " library_titles[j]
    if (j > 1) row = row " " version[libraries[j]]
  }
  print row " |"
  line(library_count + 1)
  compared("instructions", "instructions a byte")
  compared("time", "ns a byte")
  absolute("live", "parse", "heap held by a tree, bytes a byte")
  absolute("peak", "parse", "heap at most in a parse")
  absolute("peak", "write-compressed", "heap at most in a write, compressed")
  absolute("peak", "write-formatted", "heap at most in a write, formatted")
  sizes("x86-64 -O2")
  sizes("x86-64 -Os")
  sizes("armhf -O2")
  sizes("armhf -Os")
}

function beside_two(  i, name, own) {
  print "| | x cJSON | x RapidJSON | the monitors' share, % |"
  line(4)
  for (i = 1; i <= operation_count; ++i) {
    name = operations[i]
    own = mean("instructions-apart", "vorn", name)
    printf "| %s | %s | %s | %.1f |\n", operation_titles[i],
      digits(ratio("instructions", "vorn", name, "cjson")),
      digits(ratio("instructions", "vorn", name, "rapidjson")),
      100 * (1 - own / mean("instructions", "vorn", name))
  }
}

function heap_row(title, figure, operation) {
  printf "| %s | %s | %s | %s | %s |\n", title,
    figure_of(figure "-apart", "vorn", operation),
    figure_of(figure, "vorn", operation),
    figure_of(figure "-apart-armhf", "vorn", operation),
    figure_of(figure "-armhf", "vorn", operation)
}

function heaps() {
  print "| | x86-64 | and the monitors' | armhf | and the monitors' |"
  line(5)
  heap_row("held by a tree", "live", "parse")
  heap_row("at most in a parse", "peak", "parse")
  heap_row("at most in a write, compressed", "peak", "write-compressed")
  heap_row("at most in a write, formatted", "peak", "write-formatted")
}

function growth_row(title, kind,  few, many, few_time, many_time) {
  few = value["growth", kind "-1000"]
  many = value["growth", kind "-1000000"]
  few_time = value["growth-time", kind "-1000"]
  many_time = value["growth-time", kind "-1000000"]
  printf "| %s | %.0f | %.0f | x %.2f | %.1f | %.1f | x %.2f |\n", title,
    few, many, many / few, few_time, many_time, many_time / few_time
}

function growth() {
  print "| | instructions a value of 1,000 | of 1,000,000 | growth " \
    "| ns a value of 1,000 | of 1,000,000 | growth |"
  line(7)
  growth_row("array of numbers", "numbers")
  growth_row("array of strings", "strings")
  growth_row("array of small records", "records")
  growth_row("one object", "object")
}

function write_chart(  i, j, row) {
  for (i = 1; i <= operation_count; ++i) {
    row = "\"" operation_titles[i] "\""
    for (j = 2; j <= library_count; ++j) {
      row = row " " ratio("instructions", libraries[j], operations[i], "vorn")
    }
    print row >chart
  }
}

END {
  print "# Figures\n"
  print "Made by `scripts/bench` with GCC " version["-"] " at `-O2`, " \
    "Debian's packages of the other libraries, and"
  print "these documents (bytes): " documents "."
  print "The figures are geometric means over them."
  print "\n## Side by side\n"
  print "Instructions and processor time for each byte of the document, with " \
    "the monitors; of the other"
  print "libraries as multiples of this library's. Heap for each byte of the " \
    "text that is read or written,"
  print "in brackets without what the monitors take for themselves. Shared " \
    "objects are stripped; those of"
  print "the others are as Debian builds them, and two libraries are headers " \
    "alone.\n"
  side_by_side()
  print "\n## Instructions of this library, as multiples of the others'\n"
  beside_two()
  print "\n## Heap of this library, bytes for each byte of text\n"
  heaps()
  if (known("growth", "vorn", "parse")) {
    print "\n## Parse and release, from 1,000 to 1,000,000 values\n"
    growth()
  }
  if (chart) write_chart()
}
