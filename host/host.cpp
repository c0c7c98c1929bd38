#include "host/host.h"

#include "fmt/format.h"
#include "host/arguments.h"
#include "host/arrays.h"
#include "host/calls.h"
#include "host/dictionaries.h"
#include "host/exceptions.h"
#include "host/library.h"
#include "host/properties.h"
#include "host/script_objects.h"
#include "host/services.h"
#include "host/state.h"
#include "host/strings.h"
#include "host/variants.h"

namespace vornik::host {

namespace {

Host* currentHost = nullptr;

Service& requireService(std::string_view name) {
  Service* service = serviceNamed(name);
  if (service == nullptr) throw std::invalid_argument(fmt::format("there is no service {}", name));
  return *service;
}

const ObjectRef& requireObjectOf(const Value& value) {
  if (value.isNil()) throw ScriptError("the object is nil");
  return value.object();
}

const ThingClass& requireClass(std::string_view name) {
  const ThingClass* type = state().classes.find(name);
  if (type == nullptr) throw ScriptError(fmt::format("there is no class {}", name));
  return *type;
}

Array& requireArray(const Value& value) {
  Thing& thing = requireObject(requireObjectOf(value).get());
  if (!thing.is(kArrayKind)) throw ScriptError(fmt::format("array expected, not {}", typeName(value)));
  return static_cast<Array&>(thing);
}

Dictionary& requireDictionary(const Value& value) {
  Thing& thing = requireObject(requireObjectOf(value).get());
  if (!thing.is(kDictionaryKind))
    throw ScriptError(fmt::format("Dictionary expected, not {}", typeName(value)));
  return static_cast<Dictionary&>(thing);
}

std::uint64_t& elementAt(Array& array, std::int64_t index) {
  if (index >= 0 && static_cast<std::size_t>(index) < array.elements.size()) {
    return array.elements[static_cast<std::size_t>(index)];
  }
  throw ScriptError(fmt::format("array index {} is not in 0 to {}", index,
                                static_cast<std::int64_t>(array.elements.size()) - 1));
}

const Thing* thingBehind(const Value& value) {
  if (value.isNil()) return nullptr;
  if (const auto* string = std::get_if<StringRef>(&value.held())) return stringBehind(string->get());
  if (const auto* object = std::get_if<ObjectRef>(&value.held())) return &requireObject(object->get());
  return nullptr;
}

const RegisteredMethod& requireMethod(std::string_view className, std::string_view declaration) {
  const RegisteredClass* type = requireClass(className).registered;
  if (type != nullptr) {
    for (const RegisteredMethod& method : type->methods) {
      if (sameName(method.declaration.text, declaration)) return method;
    }
  }
  throw ScriptError(fmt::format("{} does not declare \"{}\"", className, declaration));
}

}  // namespace

struct Host::Implementation : State {
  using State::State;
};

ScriptException::ScriptException(std::string className, std::string message, std::int64_t errorNumber)
    : std::runtime_error(className + ": " + message),
      className_(std::move(className)),
      message_(std::move(message)),
      errorNumber_(errorNumber) {}

Host::Host(HostOptions options) : implementation_(std::make_unique<Implementation>(std::move(options))) {
  currentHost = this;
}

Host::~Host() {
  currentHost = nullptr;
}

Host& Host::current() {
  if (currentHost == nullptr) throw std::logic_error("no host is alive");
  return *currentHost;
}

const HostOptions& Host::options() const {
  return implementation_->options;
}

void Host::load(const std::filesystem::path& library) {
  const auto entry = loadPrivateCopy(library);
  try {
    enter(*entry);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(fmt::format("{}: {}", library.string(), error.what()));
  }
}

void Host::enter(decltype(REALPluginMain)& entry) {
  PluginCall call;
  entry(&Host::resolve);
  call.finish();
  if (!implementation_->complaints.empty()) throw std::runtime_error(implementation_->complaints.front());
}

void* Host::resolve(const char* name) {
  const Boundary outside(false);
  if (name == nullptr) return nullptr;
  // A host that reports no version has no such service.
  const bool isVersion = std::string_view(name) == "REALGetRBVersion";
  if (isVersion && !state().options.version) return nullptr;
  return findService(Reach::kResolver, name);
}

const std::vector<std::unique_ptr<RegisteredClass>>& Host::classes() const {
  return implementation_->classes.registered();
}

const RegisteredClass* Host::findClass(std::string_view name) const {
  const ThingClass* type = implementation_->classes.find(name);
  return type != nullptr ? type->registered : nullptr;
}

REALproc Host::function(std::string_view className, std::string_view declaration) const {
  return requireMethod(className, declaration).function;
}

REALproc Host::setter(std::string_view className, std::string_view declaration) const {
  const RegisteredMethod& method = requireMethod(className, declaration);
  if (method.setter == nullptr) {
    throw ScriptError(fmt::format("{}: \"{}\" has no setter", className, declaration));
  }
  return method.setter;
}

std::vector<std::string> Host::unreached() const {
  std::vector<std::string> unreached;
  for (const auto& type : classes()) {
    for (const RegisteredProperty& property : type->properties) {
      if (!property.read) unreached.push_back(type->name + "." + property.name);
    }
    for (const RegisteredMethod& method : type->methods) {
      const std::string member = type->name + "." + method.declaration.text;
      if (!method.called) unreached.push_back(member);
      if (method.setter != nullptr && !method.assigned) unreached.push_back(member + " (assigned)");
    }
  }
  return unreached;
}

Value Host::create(std::string_view className, const std::vector<Value>& arguments) {
  Value object = instantiate(className);
  const bool hasConstructor = hasMethod(*requireObject(object.object().get()).dispatch, "Constructor");
  if (hasConstructor || !arguments.empty()) {
    callMethod(object.object(), "Constructor", arguments, Access::kCall);
  }
  return object;
}

Value Host::instantiate(std::string_view className) {
  ObjectRef object = makeInstance(requireClass(className));
  if (!object) throw ScriptError(fmt::format("{} has no instances", className));
  return object;
}

Value Host::call(const Value& object, std::string_view method, const std::vector<Value>& arguments) {
  return callMethod(requireObjectOf(object), method, arguments, Access::kCall);
}

void Host::assign(const Value& object, std::string_view method, const std::vector<Value>& arguments,
                  const Value& value) {
  const ObjectRef& target = requireObjectOf(object);
  Thing& thing = requireObject(target.get());
  if (arguments.empty() && thing.is(kInstanceKind) && writeRegisteredProperty(thing, method, value)) return;
  if (arguments.empty() && thing.is(kExceptionKind) && setExceptionProperty(thing, method, value)) return;
  std::vector<Value> all = arguments;
  all.push_back(value);
  callMethod(target, method, all, Access::kAssign);
}

Value Host::get(const Value& object, std::string_view property) {
  const ObjectRef& target = requireObjectOf(object);
  if (const auto value = readProperty(target.get(), property)) return *value;
  return callMethod(target, property, {}, Access::kCall);
}

std::string Host::className(const Value& object) const {
  return requireObject(requireObjectOf(object).get()).dispatch->name;
}

bool Host::hasMember(const Value& object, std::string_view name) const {
  Thing& thing = requireObject(requireObjectOf(object).get());
  if (thing.is(kInstanceKind)) return findProperty(*thing.dispatch, name) || hasMethod(*thing.dispatch, name);
  return readProperty(objectHandle(&thing), name).has_value();
}

Value Host::string(std::string_view bytes, std::uint32_t encoding) {
  return makeString(bytes, encoding);
}

Value Host::array(ArrayElementType type, const std::vector<Value>& elements) {
  Value array = makeArray(type, -1);
  for (const Value& element : elements) append(array, element);
  return array;
}

std::vector<Value> Host::elements(const Value& value) const {
  const Array& array = requireArray(value);
  std::vector<Value> elements;
  elements.reserve(array.elements.size());
  for (const std::uint64_t element : array.elements) elements.push_back(fromElement(array.type, element));
  return elements;
}

void Host::append(const Value& value, const Value& element) {
  Array& array = requireArray(value);
  array.elements.push_back(toElement(array.type, element));
  array.publish();
}

Value Host::element(const Value& value, std::int64_t index) const {
  Array& array = requireArray(value);
  return fromElement(array.type, elementAt(array, index));
}

void Host::setElement(const Value& value, std::int64_t index, const Value& element) {
  Array& array = requireArray(value);
  std::uint64_t& place = elementAt(array, index);
  // The old element goes last, as its destructor can be script code that uses this array.
  const std::uint64_t old = std::exchange(place, toElement(array.type, element));
  dropElement(array.type, old);
}

std::int64_t Host::elementCount(const Value& array) const {
  return static_cast<std::int64_t>(requireArray(array).elements.size());
}

ArrayElementType Host::elementType(const Value& array) const {
  return requireArray(array).type;
}

Value Host::dictionary() {
  return dictionary("Dictionary");
}

Value Host::dictionary(const std::string& className, std::function<void()> override) {
  Value dictionary = makeInstance(implementation_->classes.dictionaryClass(className));
  dictionaryBehind(dictionary.object().get()).override = std::move(override);
  return dictionary;
}

void Host::setEntry(const Value& dictionary, const Value& key, const Value& value) {
  host::setEntry(requireDictionary(dictionary), box(key), box(value));
}

std::vector<std::pair<Value, Value>> Host::entries(const Value& dictionary) const {
  std::vector<std::pair<Value, Value>> entries;
  for (const auto& [key, value] : requireDictionary(dictionary).content.entries)
    entries.emplace_back(key, value);
  return entries;
}

std::optional<Value> Host::entry(const Value& dictionary, const Value& key) const {
  const auto& [entries, positions] = requireDictionary(dictionary).content;
  const ObjectRef boxedKey = box(key);
  const auto position = positions.find(boxedKey.get());
  if (position == positions.end()) return std::nullopt;
  return entries[position->second].second;
}

std::int64_t Host::entryCount(const Value& dictionary) const {
  return static_cast<std::int64_t>(requireDictionary(dictionary).content.entries.size());
}

Value Host::variant(VariantType type, const Value& value, bool isUnsigned) {
  return makeVariant(type, value, isUnsigned);
}

Value Host::unbox(const Value& variant) const {
  return unboxed(variant);
}

VariantType Host::variantType(const Value& variant) const {
  return static_cast<VariantType>(host::variantType(variant.object().get()));
}

Value Host::scriptObject(const std::string& name, std::function<void()> destructor) {
  return makeScriptObject(name, std::move(destructor));
}

void Host::withhold(std::string_view service, bool withheld) {
  requireService(service).withheld = withheld;
}

void Host::failFrom(std::string_view name, std::uint64_t nthCall, std::uint64_t failures) {
  Service& service = requireService(name);
  service.failingCall = nthCall == 0 ? Service::kNever : service.calls + nthCall;
  service.failures = failures;
}

void Host::interrupt(std::string_view name, std::uint64_t nthCall, std::function<void()> code) {
  for (Service* service : services()) service->interruptedCall = Service::kNever;
  Service& service = requireService(name);
  if (nthCall != 0) service.interruptedCall = service.calls + nthCall;
  implementation_->interruption = std::move(code);
}

std::map<std::string, std::uint64_t> Host::calls() const {
  std::map<std::string, std::uint64_t> calls;
  for (const Service* service : services())
    calls.emplace(service->name, service->calls - service->callsBefore);
  return calls;
}

void Host::resetCalls() {
  for (Service* service : services()) service->callsBefore = service->calls;
}

std::vector<std::string> Host::leftovers() const {
  std::vector<std::string> leftovers;
  implementation_->things.visit([&](const Thing& thing) {
    leftovers.push_back(fmt::format("{}, {} reference{}", describe(thing), thing.references,
                                    thing.references == 1 ? "" : "s"));
  });
  return leftovers;
}

Host::Ledger Host::ledger() const {
  Ledger sum;
  implementation_->things.visit([&](const Thing& thing) {
    ++sum.things;
    sum.references += static_cast<std::uint64_t>(thing.references);
  });
  return sum;
}

std::int64_t Host::references(const Value& value) const {
  const Thing* thing = thingBehind(value);
  return thing != nullptr ? thing->references : 0;
}

bool Host::insidePlugin() noexcept {
  return insidePluginNow;
}

}  // namespace vornik::host
