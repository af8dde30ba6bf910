// The order in which an object enumerates its members, checked against the
// standard map over random histories.

#include "support/fixture.h"
#include "support/keys.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <algorithm>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using generic::ScopedPointer;

struct Hash {
  std::size_t operator()(const SafeString& key) const {
    return std::hash<std::string_view>()(key);  // that of std::string as well
  }
};

// The n-th key: the empty one, short and long ones, NUL bytes and high bytes.
SafeString KeyOf(std::size_t n) {
  if (n == 0) return "";
  const SafeString middle(n % 7 == 0 ? 20 : n % 3, '\0');
  return static_cast<char>(n) + middle + static_cast<char>(n / 256);
}

Keys FirstKeys(std::size_t count) {
  Keys keys;
  while (keys.size() < count) keys.push_back(KeyOf(keys.size()));
  return keys;
}

struct Member {
  const void* value;
  std::string disposal;
};
using Model = std::unordered_map<SafeString, Member, Hash>;

template <class Names>
void ExpectOrder(const Names& names, const Model& model) {
  const auto is_name = [](const SafeString& name, const auto& member) {
    return name == member.first;
  };
  EXPECT_TRUE(std::equal(names.begin(), names.end(), model.begin(), model.end(),
                         is_name));
}

void LookUp(const SafeString& key, const Model& model, const void* found) {
  const auto member = model.find(key);
  EXPECT_EQ(found, member != model.end() ? member->second.value : nullptr);
}

// An object and its model, which change together. The changes return what
// TakeCalls() must give for them.
class Twins {
 public:
  std::string Clear() {
    object_->clear();
    return Forget();
  }

  std::string DetachAndDispose() {
    std::vector<JBase*> values;
    for (const auto& key : object_->keys()) values.push_back(object_->at(key));
    object_->detach();
    for (JBase* value : values) value->dispose();
    return Forget();
  }

  std::string Remove(const SafeString& key) {
    const std::string disposed = Forget(key);
    EXPECT_EQ(object_->remove(key), !disposed.empty());
    return disposed;
  }

  // With this request for memory failing, should it be made.
  std::string Set(const SafeString& key, std::size_t name,
                  std::size_t failing) {
    const std::string disposed = Forget(key);
    const std::string disposal = "-" + std::to_string(name);
    JBase* const value = Make<JNull>();
    Monitor::Name(value, std::to_string(name));
    Monitor::TakeLog();
    Monitor::FailRequest(Source::MemoryMonitor, failing, false);
    try {
      object_->setValue(key, value);
    } catch (const std::bad_alloc&) {
      value->dispose();
      return disposed + disposal;
    }
    Monitor::StopFailing();
    model_.emplace(key, Member{value, disposal});
    return disposed;
  }

  void Compare() const { ExpectOrder(object_->keys(), model_); }

  // A copy grows by insertions in the order of its source.
  void CompareCopies() const {
    Model copy;
    for (const auto& member : model_) copy.insert(member);
    const ScopedPointer<JBase> clone(object_->clone());
    ExpectOrder(static_cast<JObject&>(*clone.get()).keys(), copy);
  }

  void LookUp(const SafeString& key) const {
    ::LookUp(key, model_, object_->at(key));
    EXPECT_EQ(object_->existed(key), model_.count(key) != 0);
  }

 private:
  std::string Forget() {
    std::string disposed;
    for (const auto& member : model_) disposed += member.second.disposal;
    model_.clear();
    return disposed;
  }

  std::string Forget(const SafeString& key) {
    const auto member = model_.find(key);
    if (member == model_.end()) return "";
    const std::string disposed = member->second.disposal;
    model_.erase(member);
    return disposed;
  }

  ScopedPointer<JObject> object_{Make<JObject>()};
  Model model_;
};

// Long histories, and short ones of keys so few that most of them come again.
struct Row {
  // Whether the whole is compared after the step: that costs more with more
  // keys.
  bool Compares(unsigned int step) const {
    return step % (1 + keys.size() / 40) == 0;
  }

  Keys keys;
  int histories;
  unsigned int steps;
};

// Calls history(row, random) for each history of all rows, 10,000.
template <class History>
void ForEachHistory(History history) {
  const Row rows[] = {
      {FirstKeys(4), 4000, 12},          {FirstKeys(20), 2979, 30},
      {FirstKeys(100), 10, 500},         {FirstKeys(600), 4, 1500},
      {FirstKeys(3000), 1, 5000},        {CollidingKeys(20, 0), 1600, 40},
      {CollidingKeys(20, 29), 1000, 40}, {CollidingKeys(60, 29), 400, 100},
      {CollidingKeys(300, 0), 3, 1500},  {CollidingKeys(300, 257), 3, 1500}};
  std::mt19937 random(1);
  for (const Row& row : rows) {
    for (int i = 0; i < row.histories; ++i) {
      SCOPED_TRACE(testing::Message()
                   << row.keys.size() << " keys, history " << i);
      history(row, random);
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST_F(LeakTest, MembersStandInTheOrderOfTheStandardMap) {
  ForEachHistory([](const Row& row, std::mt19937& random) {
    Twins twins;
    for (unsigned int step = 0; step < row.steps; ++step) {
      const SafeString& key = row.keys[random() % row.keys.size()];
      const auto action = random() % (10 * row.steps);
      const std::size_t failing = random() % 8 == 0 ? random() % 12 : 1000;
      Monitor::TakeLog();
      const std::string disposed = action < 5    ? twins.Clear()
                                   : action < 10 ? twins.DetachAndDispose()
                                   : action % 5 == 0
                                       ? twins.Remove(key)
                                       : twins.Set(key, step, failing);
      EXPECT_EQ(TakeCalls(), disposed);
      twins.LookUp(key);
      twins.LookUp(row.keys[random() % row.keys.size()]);
      if (row.Compares(step)) twins.Compare();
      if (random() % row.steps == 0) twins.CompareCopies();
    }
  });
}

TEST_F(LeakTest, FieldsStandInTheOrderOfTheStandardMap) {
  ForEachHistory([](const Row& row, std::mt19937& random) {
    JsonArchiver archiver;
    Model model;
    for (unsigned int step = 0; step < row.steps; ++step) {
      if (random() % row.steps == 0) {
        archiver.fromString("");
        model = Model();
      }
      const SafeString& key = row.keys[random() % row.keys.size()];
      LookUp(key, model, archiver.readByField(key));
      if (model.count(key) == 0) {
        model[key].value = archiver.writeArrayByField(key);
      }
      if (row.Compares(step)) ExpectOrder(archiver.fields(), model);
    }
  });
}

}  // namespace
