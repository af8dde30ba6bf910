// Every property, for random bytes and for seeds that are cut, changed and put
// together, with tracing off and on.

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

namespace {

using namespace support;

struct Case {
  const char* name;
  Property property;
  int scripts;
  bool comma = false;  // in a locale with commas in its numbers
};
constexpr Case kCases[] = {{"Tree", CheckTree, 1000},
                           {"Archiver", CheckArchiver, 1000},
                           {"Text", CheckText, 5000},
                           {"Number", CheckNumber, 1000},
                           {"NumberWithADecimalComma", CheckNumber, 1000, true},
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

class Inputs {
 public:
  // The seeds themselves come first.
  std::string Next() {
    if (next_ < kSeeds.size()) return kSeeds[next_++];
    std::string text;
    for (unsigned int parts = Below(4); parts > 0; --parts) {
      const std::string& seed = kSeeds[Below(kSeeds.size())];
      if (seed.size() > 1000 && Below(16) != 0) continue;  // costs much
      const unsigned int begin = Below(2) ? 0 : Below(seed.size());
      text += seed.substr(begin, Below(2) ? seed.npos : Below(40));
    }
    for (unsigned int changes = Below(4); changes > 0 && !text.empty();) {
      text[Below(text.size())] = Byte(), --changes;
    }
    // What a script takes its numbers from; some are long.
    text += '\0';
    const unsigned int most = Below(20) ? 100 : 2000;
    for (unsigned int count = Below(most); count > 0; --count) text += Byte();
    return text;
  }

 private:
  unsigned int Below(std::size_t bound) {
    return static_cast<unsigned int>(random_() % bound);
  }
  char Byte() { return static_cast<char>(random_()); }

  std::mt19937 random_{1};
  std::size_t next_ = 0;
};

struct Comma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

class PropertyTest : public testing::TestWithParam<Case> {
 protected:
  // Sets the locale of C++ and, if it is installed, that of C.
  void SetUp() override {
    if (!GetParam().comma) return;
    const char* const wanted = std::getenv("VORN_TEST_LOCALE");
    std::locale::global(std::locale(std::locale::classic(), new Comma));
    if (std::setlocale(LC_ALL, wanted ? wanted : "de_DE.UTF-8") == nullptr) {
      ASSERT_EQ(wanted, nullptr) << "there is no locale " << wanted;
      std::puts("de_DE.UTF-8 is not installed");
    }
  }
  void TearDown() override {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
  }
};
INSTANTIATE_TEST_SUITE_P(All, PropertyTest, testing::ValuesIn(kCases),
                         [](const auto& row) { return row.param.name; });

TEST_P(PropertyTest, Holds) {
  injected = 0;
  Inputs inputs;
  for (int i = 0; i < GetParam().scripts && !HasFailure(); ++i) {
    const std::string text = inputs.Next();
    for (const char* trace : {"\2", "\1"}) {
      SCOPED_TRACE(testing::PrintToString(text + trace));
      Check(GetParam().property, text + trace);
    }
  }
  std::printf("%d scripts, %zu failing requests\n", 2 * GetParam().scripts,
              injected);
}

}  // namespace
