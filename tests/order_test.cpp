// The order in which an object enumerates its members, checked against the
// standard map over random histories.

#include "support/fixture.h"
#include "support/keys.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

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
  std::string Set(const SafeString& key, int name, std::size_t failing) {
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
    model_.emplace(key, disposal);
    return disposed;
  }

  void Compare() const { Compare(object_.get(), model_); }

  // A copy grows by insertions in the order of its source.
  void CompareCopies() const {
    Model copy;
    for (const auto& member : model_) copy.insert(member);
    Compare(ScopedPointer<JBase>(object_->clone()).get(), copy);
  }

 private:
  // From a key to the disposal of its value.
  using Model = std::unordered_map<SafeString, std::string, Hash>;

  static void Compare(const JBase* object, const Model& model) {
    const auto keys = static_cast<const JObject*>(object)->keys();
    ASSERT_EQ(keys.size(), model.size());
    auto key = keys.begin();
    for (const auto& member : model) EXPECT_EQ(*key++, member.first);
  }

  std::string Forget() {
    std::string disposed;
    for (const auto& member : model_) disposed += member.second;
    model_.clear();
    return disposed;
  }

  std::string Forget(const SafeString& key) {
    const auto member = model_.find(key);
    if (member == model_.end()) return "";
    const std::string disposed = member->second;
    model_.erase(member);
    return disposed;
  }

  ScopedPointer<JObject> object_{Make<JObject>()};
  Model model_;
};

// Long histories, and short ones of keys so few that most of them come again.
TEST_F(LeakTest, MembersStandInTheOrderOfTheStandardMap) {
  const struct {
    Keys keys;
    int histories;
    unsigned int steps;
  } kRows[] = {
      {FirstKeys(4), 4000, 12},          {FirstKeys(20), 2990, 30},
      {FirstKeys(100), 2, 1500},         {FirstKeys(1000), 2, 1500},
      {CollidingKeys(20, 0), 1000, 40},  {CollidingKeys(20, 29), 1000, 40},
      {CollidingKeys(20, 59), 1000, 40}, {CollidingKeys(200, 0), 3, 1500},
      {CollidingKeys(200, 127), 3, 1500}};
  std::mt19937 random(1);
  for (const auto& [keys, histories, most] : kRows) {
    for (int history = 0; history < histories && !HasFailure(); ++history) {
      SCOPED_TRACE(testing::Message()
                   << keys.size() << " keys, history " << history);
      Twins twins;
      for (unsigned int step = 0; step < most; ++step) {
        const SafeString& key = keys[random() % keys.size()];
        const auto action = random() % (10 * most);
        const std::size_t failing = random() % 8 == 0 ? random() % 12 : 1000;
        Monitor::TakeLog();
        const std::string disposed =
            action < 5        ? twins.Clear()
            : action < 10     ? twins.DetachAndDispose()
            : action % 5 == 0 ? twins.Remove(key)
                              : twins.Set(key, static_cast<int>(step), failing);
        EXPECT_EQ(TakeCalls(), disposed);
        twins.Compare();
        if (random() % most == 0) twins.CompareCopies();
      }
    }
  }
}

}  // namespace
