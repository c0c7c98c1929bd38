#include "tests/fuzz/player.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tests/support/failures_memory.h"

namespace vornik::fuzz {

using behaviour::ClassFacts;
using behaviour::kClasses;
using host::Host;
using TypeKind = host::DeclaredType::Kind;

namespace {

constexpr int kDeepestNesting = 4;
constexpr std::size_t kMostElements = 12;

/// Any service but those that count references, or the books could not come out even.
const std::string& serviceName(Input& input, const Host& host) {
  static const std::vector<std::string> names = [&] {
    std::vector<std::string> all;
    for (const auto& [name, calls] : host.calls()) {
      const bool counts = name.find("ock") != std::string::npos || name.find("Dispose") != std::string::npos;
      if (!counts) all.push_back(name);
    }
    return all;
  }();
  return names[input.word() % names.size()];
}

const ClassFacts* factsOf(const std::string& className) {
  const auto found = std::find_if(kClasses.begin(), kClasses.end(),
                                  [&](const ClassFacts& facts) { return className == facts.name; });
  return found == kClasses.end() ? nullptr : &*found;
}

}  // namespace

host::HostOptions hostOptions(Input& input) {
  static constexpr std::optional<double> kVersions[] = {2024.01, 2012.0,  {},      2011.03, 2012.011,
                                                        2013.0,  2013.03, 2013.04, 2019.02};
  host::HostOptions options;
  const std::uint8_t switches = input.byte();
  options.version = (switches & 1) == 0 ? std::optional(2024.01) : input.among(kVersions);
  options.inRuntime = (switches & 2) != 0;
  options.instancesRunConstructor = (switches & 4) != 0;
  if ((switches & 8) != 0) options.arrayLayout = host::HostOptions::ArrayLayout::kOther;
  options.instanceGap = (switches & 16) != 0 ? 8 : 64;
  return options;
}

Player::Player(Host& host, Input& input) : host_(host), input_(input) {
  const std::uint8_t switches = input_.byte();
  checksAlways_ = (switches & 1) == 0;
  objects_ = (switches & 8) == 0;
  failed_ = (switches & 6) == 6;
  if (failed_) host_.withhold(serviceName(input_, host_));
}

Player::~Player() = default;

void Player::run() {
  while (!input_.empty()) step();
  ending_ = true;
  behaviour::unlimitMemory();
  for (std::size_t i = 0; i < slots_.size(); ++i) check(i);
  for (Value& slot : slots_) slot = nullptr;
  const auto leftovers = host_.leftovers();
  if (!leftovers.empty()) fault("left over: " + leftovers.front());
}

void Player::note(const std::string& seen) {
  if (traces_) std::fprintf(stderr, "%*s-> %s\n", 2 * depth_, "", seen.c_str());
  for (const char c : seen) digest_ = (digest_ ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
}

/// Runs one operation of the script on `subject`, under the misfortune that is due. An operation that raises
/// leaves its container as it was; the exceptions are constructors, and operations in the middle of which
/// other steps were played.
template <typename Operation>
void Player::attempt(const std::string& name, const Value& subject, Operation operation) {
  const Walker* const walker = walkerOf(subject);
  const bool watches = checksAlways_ && walker != nullptr && depth_ == 1;
  const auto before = watches ? walker->walk(subject, findable()) : std::nullopt;
  const std::uint64_t stepsBefore = steps_;
  const auto misfortune = std::exchange(misfortune_, {});
  bool raised = false;
  if (traces_) {
    std::fprintf(stderr, "%*s%s%s of %s\n", 2 * depth_, "", misfortune.begin ? "under misfortune: " : "",
                 name.c_str(), subject.isNil() ? "nothing" : host_.className(subject).c_str());
  }
  if (misfortune.begin) misfortune.begin();
  try {
    operation();
  } catch (const host::ScriptException& exception) {
    raised = true;
    note(exception.what());
  } catch (const host::ScriptError&) {
    raised = true;  // a script that does not compile
  }
  if (misfortune.end) misfortune.end();
  if (!watches) return;
  const auto after = walker->walk(subject, findable());
  if (!raised || !before || stepsBefore != steps_ || host::sameName(name, "Constructor")) return;
  if (!after || *after != *before) fault(name + " raised, and the container is not what it was");
}

void Player::check(std::size_t slot) {
  const Value subject = slots_[slot];
  if (const Walker* const walker = walkerOf(subject)) {
    if (const auto contents = walker->walk(subject, findable())) note(std::to_string(contents->size()));
  }
}

void Player::nestedStep() {
  if (!ending_ && depth_ < kDeepestNesting) step();
}

void Player::step() {
  ++steps_;
  ++depth_;
  const std::uint8_t choice = input_.byte();
  switch (choice % 16) {
    case 0:
    case 1:
      create();
      break;
    case 2:
    case 3:
    case 4:
    case 5:
      put();
      break;
    case 6:
    case 7:
    case 8:
    case 9:
      callAny();
      break;
    case 10:
      assignAny();
      break;
    case 11:
      anySlot() = nullptr;
      break;
    case 12:
      if (choice >= 128) {
        removeRange();
      } else {
        anySlot() = Value(anySlot());
      }
      break;
    case 13:
      handleArrayOrDictionary();
      break;
    case 14:
      check(input_.below(slots_.size()));
      break;
    default:
      misfortune();
      break;
  }
  --depth_;
}

void Player::create() {
  const ClassFacts& facts = input_.among(kClasses);
  if (input_.oneIn(16)) return keep(host_.instantiate(facts.name), static_cast<Level>(input_.below(8)));
  std::vector<const host::RegisteredMethod*> constructors;
  for (const auto& method : host_.findClass(facts.name)->methods) {
    if (host::sameName(method.declaration.name, "Constructor")) constructors.push_back(&method);
  }
  if (constructors.empty()) return;
  const auto given = arguments(input_.among(constructors)->declaration, {});
  Level level = static_cast<Level>(input_.below(8));
  for (const Value& value : given) level = std::min(level, levelOf(value));
  attempt("create", {}, [&] { keep(host_.create(facts.name, given), level); });
}

/// What most scripts do most: an entry.
void Player::put() {
  const Value container = anyContainer();
  if (container.isNil()) return create();
  const ClassFacts& facts = *factsOf(host_.className(container));
  const auto some = [&](behaviour::Kind kind) {
    return kind == behaviour::Kind::kInteger  ? integer()
           : kind == behaviour::Kind::kString ? text()
                                              : variant(levelOf(container));
  };
  for (std::size_t count = input_.oneIn(4) ? 8 : 1; count > 0; --count) {
    const Value key = some(facts.key);
    if (traces_) std::fprintf(stderr, "%*s%s:\n", 2 * depth_, "", behaviour::show(key).c_str());
    if (!facts.isMap()) {
      attempt("insert", container, [&] { host_.call(container, "insert", {key}); });
    } else {
      const Value value = some(facts.value);
      attempt("value", container, [&] { host_.assign(container, "value", {key}, value); });
    }
  }
}

/// What takes two iterators of one container, in order: too rare to come by itself.
void Player::removeRange() {
  const Value container = anyContainer();
  if (container.isNil()) return create();
  const std::size_t kept = input_.below(16), removed = input_.below(64);
  attempt("Remove", container, [&] {
    const Value end = host_.call(container, "last");
    const auto place = [&](std::size_t steps) {
      Value iterator = host_.call(container, "first");
      while (steps-- > 0 && !host_.call(iterator, "isEqual", {end}).boolean())
        host_.call(iterator, "MoveNext");
      return iterator;
    };
    const Value first = place(kept), last = place(kept + removed);
    host_.call(container, "Remove", {first, last});
  });
}

void Player::callAny() {
  const Value self = anySlot();
  if (self.isNil()) return;
  const host::RegisteredClass* const type = host_.findClass(host_.className(self));
  if (type == nullptr) return;
  const std::size_t number = input_.byte();
  if (number < type->properties.size()) {
    return attempt("property", self,
                   [&] { note(behaviour::show(host_.get(self, type->properties[number].name))); });
  }
  if (type->methods.empty()) return;
  const host::Declaration& declaration = type->methods[number % type->methods.size()].declaration;
  const auto given = arguments(declaration, self);
  for (const Value& value : given) {
    if (host::sameName(declaration.name, "Constructor") && levelOf(value) < levelOf(self)) return;
  }
  attempt(declaration.name, self, [&] {
    const Value result = host_.call(self, declaration.name, given);
    note(behaviour::show(result));
    if (!std::holds_alternative<host::ObjectRef>(result.held()) || result.isNil()) return;
    // What is found in a container keeps its level; what is made of one gets that container's.
    keep(result, declaration.result.kind == TypeKind::kVariant && !declaration.result.isArray
                     ? levelOf(result)
                     : levelOf(self));
  });
}

void Player::assignAny() {
  const Value self = anySlot();
  if (self.isNil()) return;
  const host::RegisteredClass* const type = host_.findClass(host_.className(self));
  if (type == nullptr) return;
  std::vector<const host::RegisteredMethod*> assignable;
  for (const auto& method : type->methods) {
    if (method.setter != nullptr) assignable.push_back(&method);
  }
  if (assignable.empty()) return;
  const host::Declaration& declaration = input_.among(assignable)->declaration;
  const auto given = arguments(declaration, self);
  const Value value = argument(declaration.result, self);
  attempt(declaration.name, self, [&] { host_.assign(self, declaration.name, given, value); });
}

/// One operation while a service fails, or on little memory.
void Player::misfortune() {
  const int nth = 1 + static_cast<int>(input_.below(24));
  const bool lasts = input_.oneIn(3);
  if (input_.oneIn(2)) {
    const auto shortage = lasts ? behaviour::Shortage::kFromThenOn : behaviour::Shortage::kOneAllocation;
    // Conversions that run out of memory make other texts.
    misfortune_ = {[=] { behaviour::limitMemory(nth, shortage); },
                   [this] { failed_ = behaviour::unlimitMemory() != 0 || failed_; }};
  } else {
    const std::string& service = serviceName(input_, host_);
    misfortune_ = {[=, this] {
                     failed_ = true;
                     host_.failFrom(service, static_cast<std::uint64_t>(nth), lasts ? ~std::uint64_t{0} : 1);
                   },
                   [=, this] { host_.failFrom(service, 0); }};
  }
  input_.oneIn(2) ? put() : callAny();
  misfortune_ = {};
}

void Player::handleArrayOrDictionary() {
  static constexpr TypeKind kKinds[] = {TypeKind::kInteger, TypeKind::kString, TypeKind::kVariant};
  if (input_.oneIn(2)) return keep(array(input_.among(kKinds)), kDeepest);
  const std::size_t code = objects_ ? input_.below(4) : 3;
  const auto talk = [this, code] {
    nestedStep();
    if (code == 1 && input_.oneIn(4)) throw host::ScriptException("RuntimeException", "from a dictionary", 0);
  };
  const Value dictionary = code < 2 ? host_.dictionary("Talkative", talk) : host_.dictionary();
  setLevel(dictionary, kDeepest);
  for (std::size_t count = input_.below(kMostElements); count > 0; --count) {
    const Value key = input_.oneIn(2) ? integer() : text();
    attempt("entry", {}, [&] { host_.setEntry(dictionary, key, variant(kDeepest)); });
  }
  keep(dictionary, kDeepest);
}

Player::Value Player::anyContainer() {
  const std::size_t start = input_.below(slots_.size());
  for (std::size_t i = 0; i < slots_.size(); ++i) {
    const Value& slot = slots_[(start + i) % slots_.size()];
    if (walkerOf(slot) != nullptr) return slot;
  }
  return {};
}

const Player::Value* Player::slotOfClass(const std::string& className) {
  const std::size_t start = input_.below(slots_.size());
  for (std::size_t i = 0; i < slots_.size(); ++i) {
    const Value& slot = slots_[(start + i) % slots_.size()];
    if (std::holds_alternative<host::ObjectRef>(slot.held()) && !slot.isNil() &&
        host::sameName(host_.className(slot), className)) {
      return &slot;
    }
  }
  return nullptr;
}

std::vector<Player::Value> Player::arguments(const host::Declaration& declaration, const Value& self) {
  std::vector<Value> values;
  for (const auto& parameter : declaration.parameters) values.push_back(argument(parameter.type, self));
  return values;
}

Player::Value Player::argument(const host::DeclaredType& type, const Value& self) {
  if (type.isArray) {
    if (input_.oneIn(8)) return nullptr;
    return array(type.kind);
  }
  switch (type.kind) {
    case TypeKind::kInteger:
      return integer();
    case TypeKind::kBoolean:
      return input_.oneIn(2);
    case TypeKind::kDouble:
      return static_cast<double>(input_.byte()) / 4;
    case TypeKind::kString:
      return text();
    case TypeKind::kVariant:
      return variant(self.isNil() ? kDeepest : levelOf(self));
    case TypeKind::kObject:
      break;
    default:
      return {};
  }
  if (input_.oneIn(8)) return nullptr;
  if (const Value* const held = slotOfClass(type.name)) return *held;
  Value made = nullptr;
  if (host::sameName(type.name, "Dictionary")) {
    if (const Value* const talkative = slotOfClass("Talkative")) return *talkative;
    made = host_.dictionary();
  } else if (input_.oneIn(2)) {
    made = host_.instantiate(type.name);
  }
  setLevel(made, kDeepest);
  return made;
}

Player::Value Player::integer() {
  static constexpr std::int64_t kExtremes[] = {std::numeric_limits<std::int64_t>::min(),
                                               -1,
                                               0,
                                               std::numeric_limits<std::int64_t>::max(),
                                               std::int64_t{1} << 31,
                                               -(std::int64_t{1} << 31),
                                               1 << 16};
  const std::uint8_t choice = input_.byte();
  if (choice < 250) return static_cast<std::int64_t>(choice % 64) - 3;
  return choice < 253 ? input_.among(kExtremes) : static_cast<std::int64_t>(input_.word());
}

Player::Value Player::text() {
  static constexpr std::uint32_t kEncodings[] = {kEncodingUTF8,
                                                 kEncodingASCII,
                                                 kEncodingUTF16,
                                                 kEncodingMacRoman,
                                                 kEncodingISOLatin1,
                                                 kEncodingUTF16BE,
                                                 kEncodingUTF32LE,
                                                 kEncodingWindowsLatin1,
                                                 kEncodingUTF32,
                                                 kEncodingUTF32BE,
                                                 kEncodingUnknown,
                                                 kEncodingUTF16LE,
                                                 0x1234};
  static constexpr std::size_t kCommon[] = {0, 0, 8, 24, 40, 100, 111, 112, 130};
  static constexpr const char* kWords[] = {"", "a", "A", "ab", "Stra\u00DFe", "STRASSE", "k", "\u212A"};
  const std::uint8_t choice = input_.byte();
  if (choice < 8) return Value(host::StringRef());
  if (choice < 64) return std::string_view(kWords[choice % 8]);
  if (choice < 160) return std::string(input_.among(kCommon), 'p') + std::to_string(choice % 40);
  // One by one, since compilers read arguments in orders of their own.
  std::string bytes(choice < 200 ? 0 : input_.among(kCommon), 'p');
  bytes += input_.bytes(input_.below(20));
  oddTexts_ = true;
  return host_.string(bytes, input_.among(kEncodings));
}

/// Anything that goes into a Variant of a container on the level `holder`.
Player::Value Player::variant(Level holder) {
  static constexpr double kNumbers[] = {0.0,
                                        -0.0,
                                        1.0,
                                        2.5,
                                        -7.25,
                                        1e300,
                                        std::numeric_limits<double>::quiet_NaN(),
                                        std::numeric_limits<double>::infinity()};
  const bool isUnsigned = input_.oneIn(8);
  switch (input_.below(objects_ ? 16 : 10)) {
    case 0:
      return nullptr;
    case 1:
      return host_.variant(kVariantInt32, input_.oneIn(4) ? Value(-1) : Value(int{input_.byte()}),
                           isUnsigned);
    case 2:
      return host_.variant(kVariantInt64, integer(), isUnsigned);
    case 3:
      return host_.variant(kVariantSingle, input_.among(kNumbers));
    case 4:
      return host_.variant(kVariantDouble, input_.among(kNumbers));
    case 5:
      return host_.variant(kVariantCurrency, static_cast<double>(input_.byte()) / 4);
    case 6:
      return host_.variant(kVariantBoolean, input_.oneIn(2));
    case 7:
      return host_.variant(kVariantColor, static_cast<std::int64_t>(input_.word() & 0xFFFFFFFF));
    case 8:
      return host_.variant(kVariantText, text());
    case 9:
      return host_.variant(kVariantNil, nullptr);
    case 10:
    case 11:
      return scriptObject();
    case 12:
    case 13: {
      const Value& held = anySlot();
      if (std::holds_alternative<host::ObjectRef>(held.held()) && levelOf(held) > holder) return held;
      return integer();
    }
    default:
      return host_.variant(kVariantString, text());
  }
}

Player::Value Player::scriptObject() {
  Value object = input_.oneIn(3) ? host_.scriptObject("Silent")
                                 : host_.scriptObject("Mischievous", [this] { nestedStep(); });
  setLevel(object, kDeepest);
  return object;
}

Player::Value Player::array(TypeKind kind) {
  const ArrayElementType type = kind == TypeKind::kInteger  ? kArrayOfIntegers
                                : kind == TypeKind::kString ? kArrayOfStrings
                                                            : kArrayOfVariants;
  std::vector<Value> elements;
  for (std::size_t count = input_.below(kMostElements); count > 0; --count) {
    elements.push_back(kind == TypeKind::kInteger  ? integer()
                       : kind == TypeKind::kString ? text()
                                                   : variant(kDeepest));
  }
  Value array = host_.array(type, elements);
  setLevel(array, kDeepest);
  return array;
}

void Player::keep(Value value, Level level) {
  setLevel(value, level);
  if (walkerOf(value) != nullptr) {
    const ClassFacts& facts = *factsOf(host_.className(value));
    addressesCount_ = addressesCount_ || (facts.ordered && facts.key == behaviour::Kind::kVariant);
  }
  Value& slot = anySlot();
  std::swap(slot, value);  // the old one goes, and may play, when the new one is in place
}

Player::Level Player::levelOf(const Value& value) const {
  if (!std::holds_alternative<host::ObjectRef>(value.held()) || value.isNil()) return kDeepest;
  const Value plain = host_.unbox(value);
  if (!std::holds_alternative<host::ObjectRef>(plain.held()) || plain.isNil()) return kDeepest;
  const auto found = levels_.find(plain.object().get());
  return found == levels_.end() ? kDeepest : found->second;
}

void Player::setLevel(const Value& value, Level level) {
  if (!std::holds_alternative<host::ObjectRef>(value.held()) || value.isNil()) return;
  const Value plain = host_.unbox(value);
  if (!std::holds_alternative<host::ObjectRef>(plain.held()) || plain.isNil()) return;
  levels_[plain.object().get()] = level;
}

const Walker* Player::walkerOf(const Value& value) {
  if (!std::holds_alternative<host::ObjectRef>(value.held()) || value.isNil()) return nullptr;
  const ClassFacts* const facts = factsOf(host_.className(value));
  return facts == nullptr ? nullptr : &walkers_.try_emplace(facts->name, host_, *facts).first->second;
}

}  // namespace vornik::fuzz
