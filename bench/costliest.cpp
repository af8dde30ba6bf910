// Usage: costliest [BYTES]
//
// Searches for the texts that take the most memory for their length. For every
// pattern of up to five tokens that makes well-formed text when it is repeated,
// side by side or nested, one new process reads a text of BYTES bytes
// (1,000,000 by default), and another one loads the text into an archiver.
// Prints the five costliest patterns of both, with the peak of the resident
// bytes for each byte of the text. The text itself does not count.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <foundation/json/json.h>

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

constexpr const char* kTokens[] = {"[", "]", "{",     "}",
                                   ",", "0", R"("")", R"("":)"};
constexpr std::size_t kMostTokens = 5;
constexpr unsigned int kDepth = 1000;  // of a nested pattern

// A text is made of units with commas between them, in an array or an object.
struct Pattern {
  std::string name;
  std::string unit;
  char open;

  char close() const { return open == '[' ? ']' : '}'; }
  SafeString Text(std::size_t size) const {
    SafeString text;
    text.reserve(size + unit.size() + 2);
    text += open;
    do {
      text.append(unit) += ',';
    } while (text.size() < size);
    text.back() = close();
    return text;
  }
};

std::string Repeat(const std::string& text, unsigned int count) {
  std::string repeated;
  for (; count != 0; --count) repeated += text;
  return repeated;
}

// The patterns found so far, without those that make the same text.
class Patterns {
 public:
  // Adds what the tokens make, undivided and divided at every place.
  void Add(const std::vector<std::string>& tokens) {
    std::string all;
    for (const std::string& token : tokens) all += token;
    for (const char open : {'[', '{'}) AddIfRight({all, all, open});
    std::string before, after = all;
    int depth = 0;  // of what is in front of the division
    for (const std::string& token : tokens) {
      before += token;
      after.erase(0, token.size());
      if (token == "[" || token == "{") ++depth;
      if (token == "]" || token == "}") --depth;
      if (depth < 1) continue;
      for (const char* const middle : {"", "0"}) {
        const auto nest = [&](unsigned int count) {
          return Repeat(before, count) + middle + Repeat(after, count);
        };
        const unsigned int count = kDepth / static_cast<unsigned int>(depth);
        const std::string name =
            before + before + ".." + middle + ".." + after + after;
        if (IsRight(nest(1)) && IsRight(nest(2))) {
          AddIfRight({name, nest(count), '['});
        }
      }
    }
  }
  const std::vector<Pattern>& all() const { return all_; }

 private:
  static bool IsRight(const std::string& text) {
    return JsonReader().fromString(text.c_str());
  }
  void AddIfRight(Pattern pattern) {
    if (!IsRight(std::string(pattern.Text(2)))) return;
    if (texts_.insert(pattern.open + pattern.unit).second) {
      all_.push_back(std::move(pattern));
    }
  }

  std::set<std::string> texts_;
  std::vector<Pattern> all_;
};

// The bytes of this process that are in memory.
std::size_t Resident() {
  std::size_t all = 0, resident = 0;
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr || std::fscanf(file, "%zu %zu", &all, &resident) != 2) {
    std::exit(1);
  }
  std::fclose(file);
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t MostResident() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

// Prints the bytes for each byte of the text that reading it takes at most.
template <class Reader>
bool Measure(const Pattern& pattern, std::size_t size) {
  const SafeString text = pattern.Text(size);
  const std::size_t before = Resident();
  Reader reader;
  const bool right = reader.fromString(text);
  std::printf("%f\n", static_cast<double>(MostResident() - before) /
                          static_cast<double>(text.size()));
  return right;
}

// The same, measured by a new process: its heap is empty.
double Cost(const char* reader, const Pattern& pattern, const char* size) {
  int ends[2];
  if (pipe(ends) != 0) std::exit(1);
  const char open[] = {pattern.open, '\0'};
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    execl("/proc/self/exe", "costliest", size, reader, open,
          pattern.unit.c_str(), nullptr);
    _exit(1);
  }
  close(ends[1]);
  std::FILE* const answer = fdopen(ends[0], "r");
  double cost = 0;
  const bool right = std::fscanf(answer, "%lf", &cost) == 1;
  std::fclose(answer);
  int status = 0;
  waitpid(child, &status, 0);
  if (child < 0 || !right || status != 0) {
    std::fprintf(stderr, "%s: failed\n", pattern.name.c_str());
    std::exit(1);
  }
  return cost;
}

void Print(const char* reader, const Patterns& patterns, const char* size) {
  std::vector<std::pair<double, const Pattern*>> costs;
  for (const Pattern& pattern : patterns.all()) {
    costs.emplace_back(Cost(reader, pattern, size), &pattern);
  }
  std::sort(costs.rbegin(), costs.rend());
  std::puts(reader);
  costs.resize(std::min<std::size_t>(costs.size(), 5));
  for (const auto& [cost, pattern] : costs) {
    std::printf("%8.1f  %c%s,..%c\n", cost, pattern->open,
                pattern->name.c_str(), pattern->close());
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* const size = argc > 1 ? argv[1] : "1000000";
  if (argc == 5) {  // one of the processes that Cost() starts
    const Pattern pattern{"", argv[4], *argv[3]};
    const std::size_t bytes = std::strtoul(size, nullptr, 10);
    return (argv[2] == std::string("load")
                ? Measure<JsonArchiver>(pattern, bytes)
                : Measure<JsonReader>(pattern, bytes))
               ? 0
               : 1;
  }
  Patterns patterns;
  std::vector<std::vector<std::string>> former = {{}};
  for (std::size_t length = 1; length <= kMostTokens; ++length) {
    std::vector<std::vector<std::string>> longer;
    for (const auto& tokens : former) {
      for (const char* const token : kTokens) {
        longer.push_back(tokens);
        longer.back().emplace_back(token);
        patterns.Add(longer.back());
      }
    }
    former.swap(longer);
  }
  std::printf("%zu patterns, bytes a byte\n", patterns.all().size());
  Print("read", patterns, size);
  Print("load", patterns, size);
  return 0;
}
