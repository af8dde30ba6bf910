// The values and their text, from the bottom up: the value model, writing,
// parsing, equality, the reader.
//
// Three rules hold everywhere:
// - A created object is in a guard in the same statement. The guard releases it
//   only after the next owner has taken it.
// - A tracked creation may return null; comments say what happens then.
// - Releases neither allocate nor throw, unless a monitor throws.

#include <foundation/json/json.h>

#include <cxxabi.h>
#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <streambuf>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <foundation/generic/scopedpointer.h>
#include <foundation/lang/exception.h>
#include <foundation/text/stringutils.h>

#include "compile.h"
#include "elements.h"
#include "membertable.h"
#include "orbadalloc.h"
#include "storedtext.h"
#include "tags.h"

namespace vorn::foundation::json {

using debug::Create;
using debug::Destroy;
using generic::ScopedPointer;
using text::StringUtils;

// Gives the sections below access to the private parts of the values.
class Access {
 public:
  // Of a number or a string.
  template <class Value>
  static StoredText& Text(Value& value) {
    return *std::launder(reinterpret_cast<StoredText*>(value.text_));
  }
  template <class Value>
  static const StoredText& Text(const Value& value) {
    return *std::launder(reinterpret_cast<const StoredText*>(value.text_));
  }
  template <class Value>
  static StoredText& MakeText(Value& value) {
    return *::new (static_cast<void*>(value.text_)) StoredText;
  }
  static Elements& ElementsOf(JArray& array) {
    return *std::launder(reinterpret_cast<Elements*>(array.elements_));
  }
  static const Elements& ElementsOf(const JArray& array) {
    return *std::launder(reinterpret_cast<const Elements*>(array.elements_));
  }
  static void MakeElements(JArray& array) {
    static_assert(sizeof(array.elements_) == sizeof(Elements));
    ::new (static_cast<void*>(array.elements_)) Elements;
  }
  static MemberTable& MembersOf(JObject& object) { return object.members(); }
  static const MemberTable& MembersOf(const JObject& object) {
    return object.members();
  }
  static void SetMember(JObject& object, std::string_view key, JBase* value) {
    object.setMember(key, value);
  }
};

// Null and booleans -----------------------------------------------------------

JNull::JNull() = default;
JNull::~JNull() = default;

JBase* JNull::clone() const { return Create<JNull>(tags::kCloneNull); }

JBool::JBool() : value_(false) {}
JBool::JBool(bool value) : value_(value) {}
JBool::~JBool() = default;

bool JBool::value() const { return value_; }
void JBool::setValue(bool value) { value_ = value; }

JBase* JBool::clone() const { return Create<JBool>(tags::kCloneBool, value_); }

// Numbers ---------------------------------------------------------------------

JNumber::JNumber() { *Access::MakeText(*this).Shorten(1) = '0'; }
JNumber::JNumber(int value) {
  Access::MakeText(*this);
  setValue(value);
}
JNumber::JNumber(long long value) {
  Access::MakeText(*this);
  setValue(value);
}
JNumber::JNumber(double value) {
  Access::MakeText(*this);
  setValue(value);
}
JNumber::~JNumber() { Access::Text(*this).~StoredText(); }

void JNumber::setValue(int value) {
  Access::Text(*this).Take(StringUtils::IntToString(value));
}

void JNumber::setValue(long long value) {
  Access::Text(*this).Take(StringUtils::LongToString(value));
}

void JNumber::setValue(double value) {
  Access::Text(*this).Take(StringUtils::FloatToString(value));
}

bool JNumber::fromString(const SafeString& text) {
  SafeString trimmed = StringUtils::Trim(text);
  if (StringUtils::GetNumberFormat(trimmed) == 0) return false;
  Access::Text(*this).Take(std::move(trimmed));
  return true;
}

SafeString JNumber::toString() const { return SafeString(view()); }

std::string_view JNumber::view() const { return Access::Text(*this).view(); }

void JNumber::setText(std::string_view text) { Access::Text(*this).Set(text); }

namespace {

// The codes of StringUtils::GetNumberFormat that are read in decimal; all other
// texts are read as hexadecimal ones.
constexpr int kInteger = 1;
constexpr int kFloat = 2;
constexpr int kHexadecimal = 3;

// Returns the value without its fraction, the nearest limit if Integer cannot
// hold it, and 0 for not-a-number. The lower limit is a power of two, which a
// double holds exactly; its negative is the first value past the upper limit.
template <class Integer>
Integer Truncate(double value) {
  using Limits = std::numeric_limits<Integer>;
  constexpr auto kLowest = static_cast<double>(Limits::min());
  if (value != value) return 0;
  if (value <= kLowest) return Limits::min();
  if (value >= -kLowest) return Limits::max();
  return static_cast<Integer>(value);
}

// The text of a number as a SafeString, which StringUtils takes; none if there
// is no memory for the copy of a short text.
class Wanted {
 public:
  // The reference to what unwinds a cancelled thread binds to null.
  __attribute__((no_sanitize("null"))) explicit Wanted(const StoredText& text)
      : text_(text.string()) {
    if (text_ != nullptr) return;
    try {
      copy_ = text.view();
      text_ = &copy_;
    } catch (abi::__forced_unwind&) {
      throw;  // the thread is cancelled
    } catch (...) {
    }
  }

  explicit operator bool() const { return text_ != nullptr; }
  const SafeString& operator*() const { return *text_; }

 private:
  SafeString copy_;
  const SafeString* text_;  // that of the number, or copy_, or null
};

// The value of a short number, converted as the bundled StringUtils does.
struct ShortNumber {
  explicit ShortNumber(std::string_view text);

  int format;
  long long whole = 0;  // also the bits of a hexadecimal one
  double real = 0;
};

ShortNumber::ShortNumber(std::string_view text) {
  char digits[StoredText::kLongestShort + 1] = {};
  text.copy(digits, text.size());
  if (std::strpbrk(digits, "xX") != nullptr) {
    format = kHexadecimal;
    whole = static_cast<long long>(std::strtoull(digits, nullptr, 16));
  } else if (std::strpbrk(digits, ".eE") == nullptr) {
    format = kInteger;
    whole = std::strtoll(digits, nullptr, 10);  // the nearest limit
  } else {
    format = kFloat;
    const char* const end = digits + text.size();
    if (std::from_chars(digits, end, real).ec == std::errc()) return;
    // Its digits are too few to outweigh the exponent.
    const bool small = std::strchr(digits + 1, '-') != nullptr;
    real = small ? 0 : std::numeric_limits<double>::infinity();
    if (digits[0] == '-') real = -real;
  }
}

template <class Integer>
Integer ToInteger(const StoredText& stored,
                  Integer (*convert)(const SafeString&)) {
  const Wanted text(stored);
  if (!text) {
    using Limits = std::numeric_limits<Integer>;
    const ShortNumber number(stored.view());
    if (number.format == kFloat) return Truncate<Integer>(number.real);
    if (number.format != kInteger) return static_cast<Integer>(number.whole);
    return static_cast<Integer>(
        std::clamp<long long>(number.whole, Limits::min(), Limits::max()));
  }
  switch (StringUtils::GetNumberFormat(*text)) {
    case kInteger:
      return convert(*text);
    case kFloat:
      return Truncate<Integer>(StringUtils::StringToFloat(*text));
    default:
      return static_cast<Integer>(StringUtils::HexStringToULong(*text));
  }
}

}  // namespace

int JNumber::toInt() const {
  return ToInteger(Access::Text(*this), StringUtils::StringToInt);
}

long long JNumber::toLong() const {
  return ToInteger(Access::Text(*this), StringUtils::StringToLong);
}

double JNumber::toFloat() const {
  const StoredText& stored = Access::Text(*this);
  const Wanted text(stored);
  if (!text) {
    const ShortNumber number(stored.view());
    if (number.format == kFloat) return number.real;
    if (number.format == kInteger) return static_cast<double>(number.whole);
    return static_cast<double>(static_cast<unsigned long long>(number.whole));
  }
  switch (StringUtils::GetNumberFormat(*text)) {
    case kInteger:
      return static_cast<double>(StringUtils::StringToLong(*text));
    case kFloat:
      return StringUtils::StringToFloat(*text);
    default:
      return static_cast<double>(StringUtils::HexStringToULong(*text));
  }
}

JBase* JNumber::clone() const {
  ScopedPointer<JNumber> copy(Create<JNumber>(tags::kCloneNumber));
  if (copy) Access::Text(*copy.get()).Set(Access::Text(*this));
  return copy.release();
}

// Strings ---------------------------------------------------------------------

JString::JString() { Access::MakeText(*this); }
JString::JString(const SafeString& text) { Access::MakeText(*this).Set(text); }
JString::JString(SafeString&& text) {
  Access::MakeText(*this).Take(std::move(text));
}
JString::~JString() { Access::Text(*this).~StoredText(); }

SafeString JString::value() const { return SafeString(view()); }

std::string_view JString::view() const { return Access::Text(*this).view(); }

void JString::setValue(const SafeString& text) {
  Access::Text(*this).Set(text);
}

JBase* JString::clone() const {
  const StoredText& text = Access::Text(*this);
  if (const SafeString* const string = text.string()) {
    return Create<JString>(tags::kCloneString, *string);
  }
  ScopedPointer<JString> copy(Create<JString>(tags::kCloneString));
  if (copy) Access::Text(*copy.get()).Set(text);
  return copy.release();
}

// Arrays ----------------------------------------------------------------------

JArray::JArray() { Access::MakeElements(*this); }

JArray::~JArray() {
  clear();
  Access::ElementsOf(*this).~Elements();
}

void JArray::append(JBase* value) {
  if (value != nullptr) Access::ElementsOf(*this).Append(value);
}

JBase* JArray::at(unsigned int index) { return std::as_const(*this).at(index); }

JBase* JArray::at(unsigned int index) const {
  const Elements& elements = Access::ElementsOf(*this);
  return index < elements.size() ? elements.begin()[index] : nullptr;
}

bool JArray::setValue(unsigned int index, JBase* value) {
  if (value == nullptr) return false;
  Elements& elements = Access::ElementsOf(*this);
  if (index >= elements.size()) {
    value->dispose();
    return false;
  }
  std::exchange(elements.begin()[index], value)->dispose();
  return true;
}

unsigned int JArray::length() const {
  return static_cast<unsigned int>(Access::ElementsOf(*this).size());
}

bool JArray::empty() const { return Access::ElementsOf(*this).empty(); }

// Removes the elements from the array first, so that nothing reaches a disposed
// element.
void JArray::clear() {
  Elements elements;
  elements.Swap(Access::ElementsOf(*this));
  for (JBase* element : elements) element->dispose();
}

void JArray::detach() { Elements().Swap(Access::ElementsOf(*this)); }

JBase* JArray::clone() const {
  const Elements& elements = Access::ElementsOf(*this);
  ScopedPointer<JArray> copy(Create<JArray>(tags::kCloneArray));
  Elements& copies = Access::ElementsOf(*copy.operator->());
  copies.Reserve(elements.size());  // no Append() fails
  for (const JBase* element : elements) {
    copies.Append(OrBadAlloc(element->clone()));
  }
  return copy.release();
}

// Objects ---------------------------------------------------------------------

namespace {

JBase* ValueOf(const MemberTable::Node& member) {
  return static_cast<JBase*>(member.value);
}

}  // namespace

JObject::JObject() {
  static_assert(sizeof(members_) == sizeof(MemberTable));
  ::new (static_cast<void*>(members_)) MemberTable;
}

JObject::~JObject() {
  clear();
  members().~MemberTable();
}

MemberTable& JObject::members() {
  return *std::launder(reinterpret_cast<MemberTable*>(members_));
}

const MemberTable& JObject::members() const {
  return *std::launder(reinterpret_cast<const MemberTable*>(members_));
}

JBase* JObject::find(std::string_view key) const {
  const auto* member = members().find(MemberTable::Key(key));
  return member != nullptr ? ValueOf(*member) : nullptr;
}

JBase* JObject::at(const SafeString& key) {
  return std::as_const(*this).at(key);
}

JBase* JObject::at(const SafeString& key) const { return find(key); }

bool JObject::existed(const SafeString& key) const {
  return at(key) != nullptr;
}

void JObject::setValue(const SafeString& key, JBase* value) {
  setMember(key, value);
}

// Removes a member of that key first, so its place in the order may change. Its
// node is used again, without reading the key, which may be a part of the
// disposed value.
void JObject::setMember(std::string_view key, JBase* value) {
  if (value == nullptr) return;
  const MemberTable::Key hashed(key);
  MemberTable::Handle member = members().take(hashed);
  if (member) {
    ValueOf(*member)->dispose();
    member->value = value;
    members().putBack(std::move(member));
  } else {
    member = MemberTable::Make(hashed);
    member->value = value;
    members().put(member);
  }
}

bool JObject::remove(const SafeString& key) {
  const MemberTable::Handle member = members().take(MemberTable::Key(key));
  if (!member) return false;
  ValueOf(*member)->dispose();
  return true;
}

std::vector<SafeString, debug::Allocator<SafeString>> JObject::keys() const {
  return members().keys();
}

void JObject::Cursor::step(const JObject* object) {
  const auto* member =
      object != nullptr
          ? object->members().first()
          : static_cast<const MemberTable::Node*>(member_)->next();
  member_ = member;
  if (member == nullptr) return;
  key_ = member->key();
  value_ = ValueOf(*member);
}

unsigned int JObject::length() const { return members().size(); }
bool JObject::empty() const { return members().size() == 0; }

void JObject::clear() {
  // Empties the table also if a monitor throws, so that nothing reaches a
  // disposed value.
  struct Emptying {
    MemberTable& table;
    ~Emptying() { table.clear(); }
  };
  const Emptying emptying{members()};
  const auto* member = emptying.table.first();
  for (; member != nullptr; member = member->next()) {
    ValueOf(*member)->dispose();
  }
}

void JObject::detach() { members().clear(); }

JBase* JObject::clone() const {
  ScopedPointer<JObject> copy(Create<JObject>(tags::kCloneObject));
  MemberTable::Batch batch;
  const auto* member = members().first();
  for (; member != nullptr; member = member->next()) {
    MemberTable& members = copy->members();
    ScopedPointer<JBase> child(OrBadAlloc(ValueOf(*member)->clone()));
    MemberTable::Handle node = batch.MakeLike(*member);
    node->value = child.get();
    members.put(node);
    child.release();
  }
  return copy.release();
}

// Characters ------------------------------------------------------------------

namespace {

// The characters that are written and read as a backslash and a letter.
struct Escape {
  char character;
  char letter;
};
constexpr Escape kEscapes[] = {
    {'"', '"'}, {'\\', '\\'}, {'\r', 'r'}, {'\n', 'n'}, {'\t', 't'}};

// The classes of characters that loops over text test for.
enum CharacterClass : unsigned char {
  kEscaped = 1,    // is written as an escape
  kBlank = 2,      // stands between tokens
  kLineEnd = 4,    // ends a comment, as the end of the text does
  kNumber = 8,     // is part of a number
  kStringEnd = 16  // ends a run of plain characters in a string
};

struct CharacterTable {
  unsigned char classes[256] = {};

  constexpr CharacterTable() {
    for (const Escape& escape : kEscapes) Add(escape.character, kEscaped);
    for (const char blank : " \t\n\v\f\r") Add(blank, kBlank);
    for (const char end : "\n\r") Add(end, kLineEnd);
    for (const char part : "0123456789+-.eE") Add(part, kNumber);
    for (const char end : "\"\\") Add(end, kStringEnd);
    // The NULs of the literals above.
    classes[0] = kLineEnd | kStringEnd;
  }
  constexpr void Add(char character, CharacterClass added) {
    unsigned char& entry = classes[static_cast<unsigned char>(character)];
    entry = static_cast<unsigned char>(entry | added);
  }
};
constexpr CharacterTable kCharacters;

bool Is(char character, int classes) {
  return (kCharacters.classes[static_cast<unsigned char>(character)] &
          classes) != 0;
}

}  // namespace

// Writing ---------------------------------------------------------------------

namespace {

constexpr std::size_t kIndentWidth = 4;  // indent characters for each level

// The put area of a stream's buffer, which takes short texts without a call.
// Only a class derived from std::streambuf may name the area.
struct PutArea : std::streambuf {
  // Returns the place of the next size bytes. Returns null if there is no room,
  // if Take() cannot count so many, or if the stream has failed: the caller
  // then writes to the stream.
  static char* Room(const std::ios& stream, std::size_t size) {
    constexpr std::size_t kMost = std::numeric_limits<int>::max();
    if (size > kMost || !stream.good()) return nullptr;
    std::streambuf& buffer = *stream.rdbuf();
    char* const next = (buffer.*&PutArea::pptr)();
    const char* const end = (buffer.*&PutArea::epptr)();
    return size <= static_cast<std::size_t>(end - next) ? next : nullptr;
  }

  // Takes size bytes that were written there. REQUIRES: nothing was written
  // behind them, where text may be.
  static void Take(const std::ios& stream, std::size_t size) {
    (stream.rdbuf()->*&PutArea::pbump)(static_cast<int>(size));
  }
};

void Write(Context& context, char character) {
  const std::ios& stream = context.stream;
  if (char* const room = PutArea::Room(stream, 1)) {
    *room = character;
    return PutArea::Take(stream, 1);
  }
  context.stream.put(character);
}

void Write(Context& context, std::string_view text) {
  const std::ios& stream = context.stream;
  if (char* const room = PutArea::Room(stream, text.size())) {
    text.copy(room, text.size());
    return PutArea::Take(stream, text.size());
  }
  context.stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

// Returns the letter of an escape. REQUIRES: the character is escaped. Not
// inlined into the loop that copies, since it is seldom called.
[[gnu::noinline]] char LetterOf(char escaped) {
  const Escape* escape = kEscapes;
  while (escape->character != escaped) ++escape;
  return escape->letter;
}

// Whether a word of text may contain a byte to escape: a quotation mark, a
// backslash, or any byte below the blank.
bool MayNeedEscape(std::size_t word) {
  constexpr std::size_t kOnes = ~std::size_t{0} / 0xFF;
  const std::size_t below_blank = word - kOnes * ' ';
  const std::size_t quote = (word ^ (kOnes * '"')) - kOnes;
  const std::size_t backslash = (word ^ (kOnes * '\\')) - kOnes;
  return ((below_blank | quote | backslash) & ~word & (kOnes << 7)) != 0;
}

// Copies the text with escapes and returns the end of the copy. REQUIRES: out
// has room for twice the text.
char* CopyEscaped(std::string_view text, char* out) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    std::size_t word = 0;
    while (static_cast<std::size_t>(end - at) >= sizeof word) {
      std::memcpy(&word, at, sizeof word);
      if (MayNeedEscape(word)) break;
      std::memcpy(out, &word, sizeof word);
      at += sizeof word;
      out += sizeof word;
    }
    const auto left = static_cast<std::size_t>(end - at);
    const char* const stop = at + std::min(left, sizeof word);
    for (; at != stop; ++at) {
      if (Is(*at, kEscaped)) *out++ = '\\';
      *out++ = Is(*at, kEscaped) ? LetterOf(*at) : *at;
    }
  }
  return out;
}

enum class Role { Key, Value };

// Writes the closing quote, and the colon of a key, and returns their end.
inline char* CloseQuoted(const Context& context, Role role, char* out) {
  *out++ = '"';
  if (role == Role::Key) {
    *out++ = ':';
    if (!context.compress) *out++ = ' ';
  }
  return out;
}

// Writes a long text in parts of a fixed size.
[[gnu::noinline]] void WriteQuotedByParts(Context& context,
                                          std::string_view text, Role role) {
  constexpr std::size_t kPart = 256;
  char part[2 * kPart];
  const auto write = [&](const char* end) {
    Write(context, {part, static_cast<std::size_t>(end - part)});
  };
  Write(context, '"');
  for (; !text.empty(); text.remove_prefix(std::min(kPart, text.size()))) {
    write(CopyEscaped(text.substr(0, kPart), part));
  }
  write(CloseQuoted(context, role, part));
}

// Writes the text in quotes, a key with its colon.
//
// Not inlined: objects recurse through their toString(), whose frame must stay
// small.
[[gnu::noinline]] void WriteQuoted(Context& context, std::string_view text,
                                   Role role) {
  constexpr std::size_t kLongest = 1024;  // that is written at once
  constexpr std::size_t kAround = 4;      // bytes, the quotes and the colon
  if (text.size() > kLongest) return WriteQuotedByParts(context, text, role);
  const std::ios& stream = context.stream;
  char* const room = PutArea::Room(stream, 2 * text.size() + kAround);
  if (room == nullptr) return WriteQuotedByParts(context, text, role);
  *room = '"';
  char* const end = CloseQuoted(context, role, CopyEscaped(text, room + 1));
  PutArea::Take(stream, static_cast<std::size_t>(end - room));
}

// Sets the depth for the children of a container, and restores it.
class Nesting {
 public:
  Nesting(Context& context, int depth) : context_(context), depth_(depth) {
    context_.depth = depth + 1;
  }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
  ~Nesting() { context_.depth = depth_; }

 private:
  Context& context_;
  const int depth_;
};

// Sets the characters from begin to end in blocks; the last block ends at end.
// REQUIRES: there are at least Block characters.
template <std::size_t Block>
void Fill(char* begin, char* end, char character) {
  while (end - begin > std::ptrdiff_t{Block}) {
    std::memset(begin, character, Block);
    begin += Block;
  }
  std::memset(end - Block, character, Block);
}

// Begins a line with the indentation of the context's depth.
[[gnu::noinline]] void BeginLine(Context& context) {
  // The stream refuses more levels than a text has room for.
  constexpr int kMostLevels = std::numeric_limits<int>::max() / 8;
  auto indent =
      static_cast<std::size_t>(std::clamp(context.depth, 0, kMostLevels)) *
      kIndentWidth;
  const std::ios& stream = context.stream;
  if (char* const room = PutArea::Room(stream, 1 + indent)) {
    char* const end = room + 1 + indent;
    *room = '\n';
    if (indent >= 4 * kIndentWidth) {
      Fill<4 * kIndentWidth>(room + 1, end, context.indentChar);
    } else if (indent != 0) {
      Fill<kIndentWidth>(room + 1, end, context.indentChar);
    }
    return PutArea::Take(stream, 1 + indent);
  }
  Write(context, '\n');
  for (; indent != 0; --indent) Write(context, context.indentChar);
}

// Writes the comma between two items. Begins a line in the formatted layout.
// Inlined for the compressed layout.
inline void Separate(Context& context, bool comma) {
  if (comma) Write(context, ',');
  if (!context.compress) BeginLine(context);
}

}  // namespace

void JNull::toString(Context& context) const { Write(context, "null"); }

void JBool::toString(Context& context) const {
  using namespace std::string_view_literals;
  Write(context, value_ ? "true"sv : "false"sv);
}

void JNumber::toString(Context& context) const {
  Write(context, Access::Text(*this).view());
}

void JString::toString(Context& context) const {
  WriteQuoted(context, Access::Text(*this).view(), Role::Value);
}

void JArray::toString(Context& context) const {
  const int depth = context.depth;
  Write(context, '[');
  bool comma = false;
  for (const JBase* element : Access::ElementsOf(*this)) {
    const Nesting nesting(context, depth);
    Separate(context, std::exchange(comma, true));
    element->toString(context);
  }
  if (comma) Separate(context, false);
  Write(context, ']');
}

void JObject::toString(Context& context) const {
  const int depth = context.depth;
  Write(context, '{');
  bool comma = false;
  const auto* member = members().first();
  for (; member != nullptr; member = member->next()) {
    const Nesting nesting(context, depth);
    Separate(context, std::exchange(comma, true));
    WriteQuoted(context, member->key(), Role::Key);
    ValueOf(*member)->toString(context);
  }
  if (comma) Separate(context, false);
  Write(context, '}');
}

namespace {

SafeString Render(const JBase* root, bool compress) {
  if (root == nullptr) return SafeString();
  Context context(compress);
  root->toString(context);
  return context.stream.str();
}

}  // namespace

// Parsing ---------------------------------------------------------------------
//
// A recursive descent over a NUL-terminated text. The cursor is on a character:
// - every rule begins with the cursor on the first character that it reads;
// - it leaves the cursor behind what it read and the blanks that follow, or, if
//   it fails, on the fault;
// - no rule moves the cursor past the NUL.
// The caller of a rule owns the value that it returns. The depth is the number
// of containers around a value.

namespace {

constexpr unsigned int kNestingLimit = 1024;

// Thrown for malformed text. The lang::Exception of an empty ScopedPointer is
// not one.
class Malformed : public lang::Exception {
 public:
  using lang::Exception::Exception;
};

[[noreturn]] void Fail(const char* rule, const char* message) {
  throw Malformed(rule, message);
}

// Blanks and literals

// blanks = *( blank / "//" *character line-end )
const char* BehindBlanks(const char* at) {
  for (;;) {
    // Indentations are multiples of four in most texts.
    while (at[0] == ' ' && at[1] == ' ' && at[2] == ' ' && at[3] == ' ')
      at += 4;
    while (*at == ' ') ++at;
    if (at[0] == '/' && at[1] == '/') {
      while (!Is(*at, kLineEnd)) ++at;
    } else if (Is(*at, kBlank)) {
      ++at;
    } else {
      return at;
    }
  }
}

// Most tokens have no blanks behind them.
inline void SkipBlanks(const char*& cursor) {
  if (Is(*cursor, kBlank) || *cursor == '/') cursor = BehindBlanks(cursor);
}

// If the literal is at the cursor, moves behind it and its blanks and returns
// true. Does not test what follows its last letter.
bool TakeLiteral(const char*& cursor, const char* literal) {
  if (!StringUtils::StartWith(cursor, literal)) return false;
  cursor += std::strlen(literal);
  SkipBlanks(cursor);
  return true;
}

// bool = "false" / "true"
JBase* ParseBool(const char*& cursor) {
  if (TakeLiteral(cursor, "false")) {
    return Create<JBool>(tags::kParseFalse, false);
  }
  if (TakeLiteral(cursor, "true")) return Create<JBool>(tags::kParseTrue, true);
  Fail("ParseBool", "true error");
}

JBase* MakeNumber(const debug::Tag& tag, const char* text) {
  ScopedPointer<JNumber> number(Create<JNumber>(tag));
  if (number) number->fromString(text);
  return number.release();
}

// null-or-nan = "null" / "nan"
JBase* ParseNullOrNan(const char*& cursor) {
  if (TakeLiteral(cursor, "null")) return Create<JNull>(tags::kParseNull);
  if (TakeLiteral(cursor, "nan")) return MakeNumber(tags::kParseNan, "nan");
  Fail("ParseNull", "data error");
}

// Strings

// A string as it is in the text, without its quotes.
struct Quoted {
  std::string_view text;
  std::size_t escapes;  // the number of escapes in it
};

// Returns the escape of the letter behind a backslash, or null if there is
// none. Not inlined into the loops that scan, since it is seldom called.
[[gnu::noinline]] const Escape* EscapeOf(char letter) {
  for (const Escape& escape : kEscapes) {
    if (escape.letter == letter) return &escape;
  }
  return nullptr;
}

// string = DQUOTE *( "\" letter / character ) DQUOTE
//
// A backslash that begins no escape stands for itself.
Quoted PassString(const char*& cursor) {
  const char* const begin = cursor + 1;
  const char* at = begin;
  std::size_t escapes = 0;
  for (;; ++at) {
    while (!Is(*at, kStringEnd)) ++at;
    if (*at != '\\') break;
    if (EscapeOf(at[1]) != nullptr) {
      ++escapes;
      ++at;
    }
  }
  cursor = at;
  if (*at == '\0') Fail("GetString", "string is not end with '\"'");
  ++cursor;
  return {{begin, static_cast<std::size_t>(at - begin)}, escapes};
}

std::size_t SizeOf(const Quoted& quoted) {
  return quoted.text.size() - quoted.escapes;
}

// Writes the characters of the string, with its escapes decoded.
void Decode(const Quoted& quoted, char* out) {
  if (quoted.escapes == 0) {
    quoted.text.copy(out, quoted.text.size());
    return;
  }
  const char* at = quoted.text.data();
  const char* const end = at + quoted.text.size();
  while (at != end) {
    const Escape* const escape = *at == '\\' ? EscapeOf(at[1]) : nullptr;
    *out++ = escape != nullptr ? escape->character : *at;
    at += escape != nullptr ? 2 : 1;
  }
}

SafeString Decode(const Quoted& quoted) {
  SafeString text(SizeOf(quoted), '\0');
  Decode(quoted, text.data());
  return text;
}

// Allocates a long text before it makes its object.
JBase* ParseString(const char*& cursor) {
  const Quoted quoted = PassString(cursor);
  SkipBlanks(cursor);
  const std::size_t size = SizeOf(quoted);
  if (size > StoredText::kLongestShort) {
    return Create<JString>(tags::kParseString, Decode(quoted));
  }
  ScopedPointer<JString> string(Create<JString>(tags::kParseString));
  if (string) Decode(quoted, Access::Text(*string.get()).Shorten(size));
  return string.release();
}

// Numbers

// token = *( DIGIT / "+" / "-" / "." / "e" / "E" ), of any number format
//
// Checks the token also if there is no memory for the number, so that malformed
// text fails in both cases. It has no blanks to trim.
JBase* ParseToken(const char*& cursor, SafeString& token) {
  const char* end = cursor;
  while (Is(*end, kNumber)) ++end;
  token.clear();  // assign() would cost more
  token.append(cursor, static_cast<std::size_t>(end - cursor));
  ScopedPointer<JNumber> number(Create<JNumber>(tags::kParseNumber));
  if (StringUtils::GetNumberFormat(token) == 0) {
    Destroy(number.release(), tags::kRefuseNumber);
    Fail("ParseNumber", "number is incorrect");
  }
  if (number) Access::Text(*number.get()).Take(std::move(token));
  cursor = end;
  SkipBlanks(cursor);
  return number.release();
}

// number = "inf" / "-inf" / token
JBase* ParseNumber(const char*& cursor, SafeString& token) {
  const char letter = cursor[*cursor == '-' ? 1 : 0];
  if (letter != 'i') return ParseToken(cursor, token);
  if (TakeLiteral(cursor, "inf")) return MakeNumber(tags::kParseInf, "inf");
  if (TakeLiteral(cursor, "-inf")) {
    return MakeNumber(tags::kParseMinusInf, "-inf");
  }
  return ParseToken(cursor, token);
}

// Containers

// A member of an object under construction.
struct Member {
  MemberTable::Key key;  // lent by the text
  JBase* value;          // owned by the open object
};
using Members = std::vector<Member, debug::Allocator<Member>>;

// The storage that one parse shares.
struct Scratch {
  Elements waiting;  // of all open arrays
  Members members;   // of all open objects
  SafeString token;  // the number that is checked
};

// An array being parsed. All open arrays share one stack of elements. Close()
// moves this array's part into it, in one allocation of the exact size.
class OpenArray {
 public:
  explicit OpenArray(Elements& waiting)
      : array_(Create<JArray>(tags::kParseArray)),
        waiting_(waiting),
        first_(waiting.size()) {}
  OpenArray(const OpenArray&) = delete;
  OpenArray& operator=(const OpenArray&) = delete;

  // The array disposes its elements on the stack. This needs no memory, so a
  // monitor without memory cannot interrupt it.
  ~OpenArray() {
    if (!array_) return;
    Access::ElementsOf(*array_.get()).Borrow(begin(), count());
    array_.reset();
    waiting_.Resize(first_);
  }

  // Takes the element; null is ignored. Throws lang::Exception if there was no
  // memory for the array itself.
  void Add(ScopedPointer<JBase>& element) {
    array_.operator->();
    if (!element) return;
    waiting_.Append(element.get());
    element.release();
  }

  // Returns the finished array, which the caller owns.
  JBase* Close() {
    if (array_) {
      Elements& elements = Access::ElementsOf(*array_.get());
      elements.Reserve(count());
      std::copy_n(begin(), count(), elements.begin());
      elements.Resize(count());
      waiting_.Resize(first_);
    }
    return array_.release();
  }

 private:
  JBase** begin() { return waiting_.begin() + first_; }
  std::size_t count() const { return waiting_.size() - first_; }

  ScopedPointer<JArray> array_;
  Elements& waiting_;
  const std::size_t first_;
};

// An object being parsed. All open objects share one stack of members. New
// members wait there until nodes for several are allocated at once. A repeated
// key is set at once, since it disposes a value.
class OpenObject {
 public:
  explicit OpenObject(Members& waiting)
      : object_(Create<JObject>(tags::kParseObject)),
        waiting_(waiting),
        first_(waiting.size()),
        next_(first_) {}
  OpenObject(const OpenObject&) = delete;
  OpenObject& operator=(const OpenObject&) = delete;

  // Needs no memory, so a monitor without memory cannot interrupt it.
  ~OpenObject() {
    if (!object_) return;
    object_.reset();
    for (; next_ != waiting_.size(); ++next_) waiting_[next_].value->dispose();
    Forget();
  }

  // Takes the value; null is ignored. Throws lang::Exception if there was no
  // memory for the object itself. Most keys are copied once, from the text.
  [[gnu::noinline]] void Add(const Quoted& key, ScopedPointer<JBase>& value) {
    JObject& object = *object_.operator->();
    if (!value) return;
    const MemberTable::Key hashed(key.text);
    const std::size_t size = MemberTable::Batch::SizeOf(key.text);
    if (size > MemberTable::Batch::kLargest - size_) Store();
    if (key.escapes != 0) {
      Store();
      Access::SetMember(object, Decode(key), value.get());
    } else if (size > MemberTable::Batch::kLargest || IsRepeated(hashed)) {
      Store();
      Access::SetMember(object, key.text, value.get());
    } else {
      waiting_.push_back({hashed, value.get()});
      size_ += size;
      bits_ |= BitOf(hashed);
    }
    value.release();
  }

  // Returns the finished object, which the caller owns.
  JBase* Close() {
    if (object_) Store();
    return object_.release();
  }

  // Call this before an unfinished object is destroyed: it stores the waiting
  // members, so that the object disposes its values in its order. Values that
  // find no memory are disposed after it. Catches only std::bad_alloc: the
  // unwinding of a cancelled thread must not be caught while an exception is
  // handled.
  void Abandon() {
    try {
      if (object_) Store();
    } catch (const std::bad_alloc&) {
    }
  }

 private:
  // A bit of the hash for each key, which tells most new keys from all others.
  static std::size_t BitOf(const MemberTable::Key& key) {
    constexpr auto kBits = std::numeric_limits<std::size_t>::digits;
    return std::size_t{1} << key.hash() % kBits;
  }

  bool IsRepeated(const MemberTable::Key& key) const {
    return ((bits_ & BitOf(key)) != 0 && IsWaiting(key)) ||
           Access::MembersOf(*object_.get()).find(key) != nullptr;
  }

  bool IsWaiting(const MemberTable::Key& key) const {
    for (std::size_t i = first_; i != waiting_.size(); ++i) {
      const MemberTable::Key& other = waiting_[i].key;
      if (other.hash() == key.hash() && SameText(other.text(), key.text())) {
        return true;
      }
    }
    return false;
  }

  void Store() {
    if (waiting_.size() == first_) return;
    MemberTable& members = Access::MembersOf(*object_.get());
    MemberTable::Batch batch;
    if (waiting_.size() - first_ > 1) batch.Start(size_);
    for (; next_ != waiting_.size(); ++next_) {
      MemberTable::Handle node = batch.Make(waiting_[next_].key);
      node->value = waiting_[next_].value;
      members.put(node);
    }
    Forget();
  }

  void Forget() {
    waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(first_),
                   waiting_.end());
    next_ = first_;
    size_ = 0;
    bits_ = 0;
  }

  ScopedPointer<JObject> object_;
  Members& waiting_;
  const std::size_t first_;
  std::size_t next_;      // of those that have no node yet
  std::size_t size_ = 0;  // of their nodes
  std::size_t bits_ = 0;  // of their keys
};

JBase* ParseValue(const char*& cursor, Scratch& scratch, unsigned int depth);

void CheckDepth(unsigned int depth) {
  if (depth == kNestingLimit) Fail("Parse", "nesting is too deep");
}

// Skips the "[" or "," of an array. Returns false if "]" follows the "[".
bool ArraySkip(const char*& cursor) {
  const char separator = *cursor++;
  SkipBlanks(cursor);
  if (*cursor == '\0') Fail("ArraySkip", "array ']' mismatching");
  if (*cursor != ']') return true;
  if (separator == ',') Fail("ArraySkip", "spare ','");
  return false;
}

// array = "[" [ value *( "," value ) ] "]"
JBase* ParseArray(const char*& cursor, Scratch& scratch, unsigned int depth) {
  CheckDepth(depth);
  OpenArray array(scratch.waiting);
  bool more = ArraySkip(cursor);
  while (more) {
    ScopedPointer<JBase> element(ParseValue(cursor, scratch, depth + 1));
    array.Add(element);
    if (*cursor != ',' && *cursor != ']') Fail("ParseArray", "missing ']'");
    more = *cursor == ',';
    if (more) ArraySkip(cursor);
  }
  ++cursor;
  SkipBlanks(cursor);
  return array.Close();
}

// Skips the "{" or "," of an object. Returns false if "}" follows the "{"; else
// the cursor is on a key.
bool ParseKey(const char*& cursor) {
  const char separator = *cursor++;
  SkipBlanks(cursor);
  if (*cursor == '\0') Fail("ParseKey", "object '}' mismatching");
  if (*cursor == '"') return true;
  if (*cursor != '}') Fail("ParseKey", "key is not begin with '\"'");
  if (separator == ',') Fail("ParseKey", "spare ','");
  return false;
}

// field = string ":"
Quoted ParseField(const char*& cursor) {
  const Quoted key = PassString(cursor);
  SkipBlanks(cursor);
  if (*cursor != ':') Fail("ParseObject", "field not combined with ':'");
  ++cursor;
  return key;
}

// object = "{" [ field value *( "," field value ) ] "}"
JBase* ParseObject(const char*& cursor, Scratch& scratch, unsigned int depth) {
  CheckDepth(depth);
  OpenObject object(scratch.members);
  try {
    bool more = ParseKey(cursor);
    while (more) {
      const Quoted key = ParseField(cursor);
      ScopedPointer<JBase> value(ParseValue(cursor, scratch, depth + 1));
      object.Add(key, value);
      if (*cursor != ',' && *cursor != '}') {
        Fail("ParseObject", "missing '}' or have some extra data characters");
      }
      more = *cursor == ',';
      if (more) ParseKey(cursor);
    }
    ++cursor;
    SkipBlanks(cursor);
    return object.Close();
  } catch (...) {
    object.Abandon();
    throw;
  }
}

// value = blanks ( object / array / string / bool / null-or-nan / number )
JBase* ParseValue(const char*& cursor, Scratch& scratch, unsigned int depth) {
  SkipBlanks(cursor);
  switch (*cursor) {
    case '{':
      return ParseObject(cursor, scratch, depth);
    case '[':
      return ParseArray(cursor, scratch, depth);
    case '"':
      return ParseString(cursor);
    case 't':
    case 'f':
      return ParseBool(cursor);
    case 'n':
      return ParseNullOrNan(cursor);
    default:
      return ParseNumber(cursor, scratch.token);
  }
}

}  // namespace

// text = value
JBase* Compile(const char*& cursor) {
  Scratch scratch;
  ScopedPointer<JBase> root(ParseValue(cursor, scratch, 0));
  if (root && *cursor != '\0') {
    Destroy(root.release(), tags::kCompile);
    Fail("Parse", "extra data characters");
  }
  return root.release();
}

// Equality --------------------------------------------------------------------

namespace {

bool AreEqual(const Elements& first, const Elements& second);
bool AreEqual(const MemberTable& first, const MemberTable& second);

template <class Value>
const Value& As(const JBase* value) {
  return static_cast<const Value&>(*value);
}

// Inlined into the loops over children, so that only containers need a call.
[[gnu::always_inline]] inline bool AreEqual(const JBase* first,
                                            const JBase* second) {
  const JType type = first->type();
  if (type != second->type()) return false;
  switch (type) {
    case JType::Null:
      return true;
    case JType::Bool:
      return As<JBool>(first).value() == As<JBool>(second).value();
    case JType::Number:
      return Access::Text(As<JNumber>(first)) ==
             Access::Text(As<JNumber>(second));
    case JType::String:
      return Access::Text(As<JString>(first)) ==
             Access::Text(As<JString>(second));
    case JType::Array:
      return AreEqual(Access::ElementsOf(As<JArray>(first)),
                      Access::ElementsOf(As<JArray>(second)));
    case JType::Object:
      return AreEqual(Access::MembersOf(As<JObject>(first)),
                      Access::MembersOf(As<JObject>(second)));
  }
  return false;  // a kind beyond the six
}

bool AreEqual(const Elements& first, const Elements& second) {
  if (first.size() != second.size()) return false;
  JBase* const* other = second.begin();
  for (const JBase* element : first) {
    if (!AreEqual(element, *other++)) return false;
  }
  return true;
}

// Tries the member behind the last one found first: most equal objects have
// their members in the same order.
bool AreEqual(const MemberTable& first, const MemberTable& second) {
  if (first.size() != second.size()) return false;
  const MemberTable::Node* other = second.first();
  const MemberTable::Node* member = first.first();
  for (; member != nullptr; member = member->next()) {
    const MemberTable::Key key(*member);
    if (other == nullptr || !other->Has(key)) other = second.find(key);
    if (other == nullptr) return false;
    if (!AreEqual(ValueOf(*member), ValueOf(*other))) return false;
    other = other->next();
  }
  return true;
}

}  // namespace

bool JsonReader::IsEqual(const JBase* first, const JBase* second) {
  if (first == nullptr || second == nullptr) return first == second;
  return AreEqual(first, second);
}

// The reader ------------------------------------------------------------------

JsonReader::JsonReader() : tree_(nullptr) {}
JsonReader::~JsonReader() { reset(); }

bool JsonReader::fromString(const char* text) {
  reset();
  return text != nullptr && read(text, nullptr);
}

bool JsonReader::fromString(const SafeString& text) {
  return fromString(text.c_str());
}

// The unwinding of a cancelled thread has no exception object: the reference
// binds to null, which a sanitizer would report.
__attribute__((no_sanitize("null"))) bool JsonReader::read(const char* text,
                                                           JsonFault* fault) {
  const char* cursor = text;
  try {
    tree_ = Compile(cursor);
  } catch (abi::__forced_unwind&) {
    throw;  // the thread is cancelled
  } catch (const Malformed& e) {
    if (fault == nullptr) return false;
    fault->kind = JsonFault::Kind::Malformed;
    SetPlace(*fault, text, static_cast<std::size_t>(cursor - text));
    std::string_view(e.where()).copy(fault->rule, sizeof fault->rule - 1);
    std::string_view(e.what()).copy(fault->message, sizeof fault->message - 1);
  } catch (...) {
  }
  return valid();
}

JBase* JsonReader::getJson() const { return tree_; }

JBase* JsonReader::transfer() { return std::exchange(tree_, nullptr); }

bool JsonReader::valid() const { return tree_ != nullptr; }

// Removes the tree from the reader first, so that it is not disposed again if a
// monitor throws.
void JsonReader::reset() {
  if (JBase* tree = std::exchange(tree_, nullptr)) tree->dispose();
}

SafeString JsonReader::format() const { return Format(tree_); }
SafeString JsonReader::compress() const { return Compress(tree_); }

SafeString JsonReader::Format(const JBase* value) {
  return Render(value, false);
}

SafeString JsonReader::Compress(const JBase* value) {
  return Render(value, true);
}

}  // namespace vorn::foundation::json
