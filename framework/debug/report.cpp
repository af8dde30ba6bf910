#include "report.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <vector>

#include "origins.h"
#include "ownmemory.h"

namespace vorn::foundation::debug::internal {

namespace {

// The line of a tag: its figures, and their change since the mark.
struct Row {
  void Add(const Row& other) {
    objects += other.objects;
    more_objects += other.more_objects;
    bytes += other.bytes;
    more_bytes += other.more_bytes;
    made += other.made;
    freed += other.freed;
  }
  bool IsOfNote() const { return objects != 0 || made != 0 || freed != 0; }

  const Origin* tag = nullptr;
  long long objects = 0;
  long long more_objects = 0;
  long long bytes = 0;
  long long more_bytes = 0;
  long long made = 0;
  long long freed = 0;
};

using Rows = std::vector<Row, OwnAllocator<Row>>;

Row RowOf(const Origin& origin, const Count& now, const Count& then) {
  Row row;
  row.tag = &origin;
  row.objects = static_cast<long long>(now.alive);
  row.more_objects = row.objects - static_cast<long long>(then.alive);
  row.bytes = static_cast<long long>(now.bytes);
  row.more_bytes = row.bytes - static_cast<long long>(then.bytes);
  row.made = static_cast<long long>(now.made - then.made);
  row.freed = row.made - row.more_objects;
  return row;
}

// Orders rows by tag. Several origins may have one tag: objects of several
// sizes are created in one place, or equal texts lie at several addresses.
bool TagOrder(const Row& a, const Row& b) {
  if (const int order = std::strcmp(a.tag->file_copy, b.tag->file_copy))
    return order < 0;
  if (a.tag->line != b.tag->line) return a.tag->line < b.tag->line;
  return std::strcmp(a.tag->function_copy, b.tag->function_copy) < 0;
}

bool GrowthOrder(const Row& a, const Row& b) {
  if (a.more_bytes != b.more_bytes) return a.more_bytes > b.more_bytes;
  return TagOrder(a, b);
}

// Returns a row for each tag with objects or changes, in the order of the tags.
Rows RowsOf(const State& now, const State& then) {
  Rows rows;
  rows.reserve(now.counts.size());
  for (unsigned int i = 0; i < now.counts.size(); ++i) {
    const Count before = i < then.counts.size() ? then.counts[i] : Count();
    const Row row = RowOf(Origins::Numbered(i), now.counts[i], before);
    if (row.IsOfNote()) rows.push_back(row);
  }
  std::sort(rows.begin(), rows.end(), TagOrder);
  std::size_t tags = 0;
  for (const Row& row : rows) {
    if (tags > 0 && !TagOrder(rows[tags - 1], row)) {
      rows[tags - 1].Add(row);
    } else {
      rows[tags++] = row;
    }
  }
  rows.resize(tags);
  return rows;
}

Row TotalOf(const Rows& rows) {
  Row total;
  for (const Row& row : rows) total.Add(row);
  return total;
}

// Writes texts and figures as printf() does. The flags of the stream change
// nothing.
template <class... Figures>
void Print(std::ostream& out, const char* format, Figures... figures) {
  char line[200];
  std::snprintf(line, sizeof line, format, figures...);
  out << line;
}

void PrintFigures(std::ostream& out, const char* format, const Row& row) {
  Print(out, format, row.objects, row.more_objects, row.bytes, row.more_bytes,
        row.made, row.freed);
}

void PrintTag(std::ostream& out, const Origin& tag) {
  out << tag.file_copy;
  Print(out, ":%d ", tag.line);
  out << tag.function_copy;
}

// Prints nothing if there are none.
void PrintUnknown(std::ostream& out, std::size_t unknown) {
  if (unknown != 0) Print(out, "releases of unknown objects: %zu\n", unknown);
}

void PrintText(std::ostream& out, const char* mark, const Rows& rows,
               std::size_t unknown) {
  constexpr char kFormat[] = "%9lld %+9lld %11lld %+11lld %11lld %11lld  ";
  if (mark != nullptr) out << "since " << mark << ":\n";
  Print(out, "%9s %9s %11s %11s %11s %11s  %s\n", "objects", "change", "bytes",
        "change", "made", "freed", "created at");
  for (const Row& row : rows) {
    PrintFigures(out, kFormat, row);
    PrintTag(out, *row.tag);
    out << '\n';
  }
  PrintFigures(out, kFormat, TotalOf(rows));
  out << "total\n";
  PrintUnknown(out, unknown);
}

void PrintTabs(std::ostream& out, const Rows& rows, std::size_t unknown) {
  constexpr char kFormat[] = "\t%lld\t%lld\t%lld\t%lld\t%lld\t%lld\n";
  out << "file\tline\tfunction\tobjects\tobjects_change\tbytes\tbytes_change\t"
         "made\tfreed\n";
  for (const Row& row : rows) {
    out << row.tag->file_copy;
    Print(out, "\t%d\t", row.tag->line);
    out << row.tag->function_copy;
    PrintFigures(out, kFormat, row);
  }
  out << "total\t\t";
  PrintFigures(out, kFormat, TotalOf(rows));
  Print(out, "unknown\t\t\t\t\t\t\t\t%zu\n", unknown);
}

}  // namespace

void PrintState(std::ostream& out, const State& now) {
  constexpr char kFormat[] = ": %lld objects, %lld bytes\n";
  const Rows rows = RowsOf(now, now);  // only tags with live objects
  for (const Row& row : rows) {
    PrintTag(out, *row.tag);
    Print(out, kFormat, row.objects, row.bytes);
  }
  const Row total = TotalOf(rows);
  out << "total";
  Print(out, kFormat, total.objects, total.bytes);
  PrintUnknown(out, now.unknown);
}

void PrintChange(std::ostream& out, const State& now, const State& then,
                 const char* mark, ReportLayout layout) {
  Rows rows = RowsOf(now, then);
  std::sort(rows.begin(), rows.end(), GrowthOrder);
  const std::size_t unknown = now.unknown - then.unknown;
  if (layout == ReportLayout::Text) {
    PrintText(out, mark, rows, unknown);
  } else {
    PrintTabs(out, rows, unknown);
  }
}

}  // namespace vorn::foundation::debug::internal
