# Usage: awk -v kind=KIND -v count=COUNT -f document.awk
#
# Writes a JSON document of about COUNT values, always the same one: an array of
# numbers, of strings or of nested records, or one object.

# The next of a fixed sequence of whole numbers below the limit.
function draw(limit) {
  state = (state * 69069 + 1) % 4294967296
  return int(state / 4294967296 * limit)
}

function number() {
  if (draw(2)) return draw(1000000) - 500000
  return sprintf("%d.%06d", draw(360) - 180, draw(1000000))
}

function text(  words, i) {
  words = ""
  for (i = draw(8); i >= 0; --i) {
    words = words substr("lorem ipsum dolor sit amet", 1 + draw(20), \
                         1 + draw(8))
  }
  if (draw(8) == 0) words = words "\\n\\\"" words "\\\""
  return "\"" words "\""
}

# Six values.
function record(id) {
  return sprintf("{\"id\": %d, \"name\": %s, " \
                 "\"place\": {\"x\": %s, \"y\": %s}}",
                 id, text(), number(), number())
}

function member(id) { return sprintf("\"key %d\": %s", id, number()) }

BEGIN {
  if (kind == "records") count = int((count + 5) / 6)
  print kind == "object" ? "{" : "["
  for (i = 1; i <= count; ++i) {
    if (kind == "numbers") value = number()
    else if (kind == "strings") value = text()
    else if (kind == "records") value = record(i)
    else value = member(i)
    print value (i < count ? "," : "")
  }
  print kind == "object" ? "}" : "]"
}
