// Every property, for random bytes and for seeds that are cut, changed and put
// together, with tracing off and on, in two locales.

#include "support/property.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <random>
#include <tuple>

namespace {

using namespace support;

using Case = std::tuple<const char*, Property, std::size_t>;
constexpr Case kCases[] = {{"Tree", CheckTree, 2000},
                           {"Archiver", CheckArchiver, 3000},
                           {"Number", CheckNumber, 2000},
                           {"Tool", CheckTool, 1000}};

// Of the folder that VORN_DOCUMENTS names, if it does.
std::vector<std::string> ReadSeeds() {
  std::vector<std::string> seeds;
  const char* const folder = std::getenv("VORN_DOCUMENTS");
  for (const auto& entry :
       std::filesystem::directory_iterator(folder ? folder : VORN_SEEDS)) {
    std::ifstream file(entry.path(), std::ios::binary);
    seeds.emplace_back(std::istreambuf_iterator<char>(file),
                       std::istreambuf_iterator<char>());
  }
  std::sort(seeds.begin(), seeds.end());  // not as the folder has them
  return seeds;
}
const std::vector<std::string> kSeeds = ReadSeeds();

std::string MakeInput(std::mt19937& random) {
  const auto below = [&](std::size_t bound) { return random() % bound; };
  std::string text;
  for (auto parts = below(4); parts > 0; --parts) {
    const std::string& seed = kSeeds[below(kSeeds.size())];
    if (seed.size() > 1000 && below(16) != 0) continue;  // costs much
    const std::size_t begin = below(2) ? 0 : below(seed.size());
    text += seed.substr(begin, below(2) ? seed.npos : below(40));
  }
  for (auto changes = text.empty() ? 0 : below(4); changes > 0; --changes) {
    text[below(text.size())] = static_cast<char>(random());
  }
  // What a script takes its numbers from; some are long.
  text += '\0';
  for (auto count = below(below(20) ? 100 : 2000); count > 0; --count) {
    text += static_cast<char>(random());
  }
  return text;
}

struct Comma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

using PropertyTest = testing::TestWithParam<Case>;
INSTANTIATE_TEST_SUITE_P(All, PropertyTest, testing::ValuesIn(kCases),
                         [](const auto& row) {
                           return std::get<0>(row.param);
                         });

// In the second half, in a locale of C++ with commas in its numbers, and in
// that of C that VORN_TEST_LOCALE names, if it does.
TEST_P(PropertyTest, Holds) {
  const auto& [name, property, scripts] = GetParam();
  const char* const locale = std::getenv("VORN_TEST_LOCALE");
  injected = 0;
  std::mt19937 random(1);
  for (std::size_t i = 0; i < scripts && !HasFailure(); ++i) {
    if (i == scripts / 2) {
      std::locale::global(std::locale(std::locale::classic(), new Comma));
      ASSERT_TRUE(std::setlocale(LC_ALL, locale ? locale : "C")) << locale;
    }
    const std::string text = i < kSeeds.size() ? kSeeds[i] : MakeInput(random);
    for (const char* trace : {"\2", "\1"}) {
      SCOPED_TRACE(testing::PrintToString(text + trace));
      Check(property, text + trace);
    }
  }
  std::locale::global(std::locale::classic());  // also that of C
  std::printf("%zu scripts, %zu failing requests\n", 2 * scripts, injected);
}

}  // namespace
