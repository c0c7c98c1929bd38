// The stand-in host: how it reads declarations, and its services, called the way a library calls them. What
// the library's own tests would not notice, above all a host that has become blind to their mistakes.
#include "host/host.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vornik::host {
namespace {

using Object = REALobjectStruct*;
using String = REALstringStruct*;

template <typename Result, typename... Arguments>
Result service(const char* name, Arguments... arguments) {
  return reinterpret_cast<Result (*)(Arguments...)>(Host::resolve(name))(arguments...);
}
String newString(const char* text) {
  return service<String, const void*>("REALBuildStringWithEncoding", text,
                                      static_cast<std::int32_t>(std::strlen(text)),
                                      std::uint32_t{kEncodingUTF8});
}
void unlock(String string) {
  service<void>("REALUnlockString", string);
}

TEST(HostLedger, CountsThingsAndReferences) {
  Value orphan;
  {
    Host host;
    const Value text = "shared";
    const Value list = host.array(kArrayOfStrings, {text, text});
    const Value boxed = host.array(kArrayOfVariants, {text, 1, nullptr});
    EXPECT_EQ(host.references(text), 4);
    EXPECT_EQ(host.references(list), 1);
    EXPECT_EQ(host.ledger(), (Host::Ledger{5, 8}));
    orphan = "outlives its host";
  }
  Host host;
  orphan = Value();
  EXPECT_EQ(host.ledger(), Host::Ledger());
}

TEST(HostLedger, NamesWhatIsLeftAndEndsWhatIsNot) {
  Host host;
  newString("forgotten");
  EXPECT_EQ(host.leftovers(), std::vector<std::string>{"string \"forgotten\" #1, 1 reference"});
  // No array may be torn down around a destructor that looks at the ledger.
  std::uint64_t seen = 99;
  Value list =
      host.array(kArrayOfVariants, {host.scriptObject("Script", [&] { seen = host.ledger().things; })});
  EXPECT_EQ(seen, 99U);
  list = Value();
  EXPECT_EQ(seen, 2U) << "what is left over and the object itself, until its destructor is done";
  EXPECT_EQ(host.ledger().things, 1U);
}

TEST(HostLedgerDeathTest, MisuseAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Host host;
  const String once = newString("once");
  unlock(once);
  EXPECT_DEATH(unlock(once), "giving back string \"once\" #1, which has ended");
  EXPECT_DEATH(service<const char*>("StringGetCString", once), "use of string \"once\" #1, which has ended");
  alignas(16) char nothing[64] = {};
  EXPECT_DEATH(unlock(reinterpret_cast<String>(nothing)), "giving back 0x[0-9a-f]+, which is no handle");
  EXPECT_DEATH(service<void>("REALUnlockObject", newString("text")),
               "counting as an object of string \"text\" #2");
  // A handle is known for a while after its thing has ended.
  for (int i = 0; i < 1000; ++i) unlock(newString("another"));
  EXPECT_DEATH(unlock(once), "giving back string \"once\" #1, which has ended");
}

TEST(HostExceptions, TheFirstOfACallIsDeliveredAndThoseOfCallsWithinItAreTheirs) {
  Host host;
  const auto raise = [](const char* className) {
    const auto exception = ObjectRef::adopt(service<Object>("PluginNewInstance", className));
    service<void>("RuntimeRaiseException", exception.get());
  };
  Host::PluginCall outer;
  raise("KeyNotFoundException");
  {
    Host::PluginCall inner;
    EXPECT_NO_THROW(inner.finish());
    Host::PluginCall failing;
    raise("OutOfBoundsException");
    EXPECT_THROW(failing.finish(), ScriptException);
  }
  raise("RuntimeException");
  try {
    outer.finish();
    ADD_FAILURE() << "nothing is raised";
  } catch (const ScriptException& exception) {
    EXPECT_EQ(exception.className(), "KeyNotFoundException");
  }
}

TEST(HostServices, CanBeWithheldCountedAndMadeToFail) {
  const char* const kLength = "LenB( s as string ) as integer";
  Host host({.version = std::nullopt, .withheld = {"REALinRuntime", kLength}});
  for (const char* name : {"REALinRuntime", "REALGetRBVersion", "NoSuchService"})
    EXPECT_EQ(Host::resolve(name), nullptr) << name;
  EXPECT_EQ(service<void*>("REALLoadGlobalMethod", nullptr, kLength), nullptr);
  host.withhold("REALinRuntime", false);
  EXPECT_NE(Host::resolve("REALinRuntime"), nullptr);

  const auto works = [] {
    return bool(ObjectRef::adopt(service<Object>("IntegerToVariant", std::int64_t{1})));
  };
  host.failFrom("IntegerToVariant", 2, 2);
  for (const bool expected : {true, false, false, true}) EXPECT_EQ(works(), expected);
  EXPECT_EQ(host.calls().at("IntegerToVariant"), 4U);
  host.failFrom("IntegerToVariant", 1);
  EXPECT_FALSE(works());
  host.failFrom("IntegerToVariant", 0);
  EXPECT_TRUE(works());
  EXPECT_THROW(host.failFrom("NoSuchService", 1), std::invalid_argument);
}

std::string describe(const DeclaredType& type) {
  return "-ibdsvo"[static_cast<int>(type.kind)] + std::string(type.isArray ? "[]:" : ":") + type.name;
}

/// Everything that a declaration was read as, or what is wrong with it, in one line.
std::string reading(const char* text) {
  try {
    const Declaration declaration = parseDeclaration(text);
    std::string line = declaration.name + '(';
    for (const DeclaredParameter& p : declaration.parameters) {
      line += (p.assigns ? "<-" : "") + p.name + ' ' + describe(p.type);
      line += (p.defaultText ? '=' + *p.defaultText : "") + ';';
    }
    return line + ')' + describe(declaration.result) + " needs " +
           std::to_string(declaration.requiredParameters());
  } catch (const std::invalid_argument& e) {
    const std::string prefix = std::string("declaration \"") + text + "\", column ", what = e.what();
    return what.starts_with(prefix) ? what.substr(prefix.size()) : what;
  }
}

TEST(Declaration, IsReadInEveryFormOrTheColumnOfAFaultIsNamed) {
  const std::pair<const char*, const char*> cases[] = {
      {"MoveNext ( )", "MoveNext()-: needs 0"},
      {"Constructor(dic as dictionary, CaseSensitive as Boolean = true)",
       "Constructor(dic o:dictionary;CaseSensitive b:Boolean=true;)-: needs 1"},
      {"Keys as integer()", "Keys()i[]:integer needs 0"},
      {"Value(key As Variant, Assigns _value As Variant)",
       "Value(key v:Variant;<-_value v:Variant;)-: needs 2"},
      {"\tf(a\tAS Double=-1.5,b aS STRING = \"x, y\")As\tvariant ( ) ",
       "f(a d:Double=-1.5;b s:STRING=\"x, y\";)v[]:variant needs 0"},
      {"asString(assigns as Lib.Assigns) as ASinteger",
       "asString(assigns o:Lib.Assigns;)o:ASinteger needs 1"},
      {"", "1: expected a name"},
      {"f(", "3: expected a parameter name"},
      {"f(a as)", "7: expected a type name"},
      {"f(a as integer", "15: expected \")\""},
      {"f(a as integer,)", "16: expected a parameter name"},
      {"f(a as integer = )", "18: expected a literal"},
      {"f(a as string = \"x)", "17: text literal without end"},
      {"f as integer x", "14: unexpected text"},
      {"f(a as  Int32)", "9: type Int32 is not supported"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(reading(text), expected);
}

}  // namespace
}  // namespace vornik::host
