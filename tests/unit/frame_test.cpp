// The frame with its own code linked in: binding, raising, string building.
#include <gmock/gmock.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "plugin/frame/errors.h"
#include "plugin/frame/host_services.h"
#include "plugin/frame/host_string.h"
#include "tests/unit/captured_log.h"
#include "tests/unit/in_host.h"

namespace vornik {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

int lookups = 0;
bool known = false;

std::int64_t half(std::int64_t number) {
  return number / 2;
}
void* learningResolver(const char* name) {
  ++lookups;
  return known && std::strcmp(name, "Half") == 0 ? reinterpret_cast<void*>(&half) : nullptr;
}

TEST(HostService, AsksAgainUntilItIsFoundAndNeverAfterwards) {
  static constexpr HostService<"Half", std::int64_t(std::int64_t)> service;
  gResolver = nullptr;
  EXPECT_EQ(service(8), 0);
  gResolver = &learningResolver;
  EXPECT_EQ(service(8), 0);
  EXPECT_EQ(service(8), 0);
  EXPECT_EQ(lookups, 2);
  known = true;
  EXPECT_EQ(service(8), 4);
  EXPECT_EQ(service(6), 3);
  EXPECT_EQ(lookups, 3);
}

TEST(HostService, MissingOnesAreNeutralAndLeaveOutParametersAlone) {
  gResolver = nullptr;
  static constexpr HostService<"Missing.handle", void*(int)> handle;
  static constexpr HostService<"Missing.flag", bool(std::int64_t*)> flag;
  static constexpr HostService<"Missing.number", double()> number;
  static constexpr HostService<"Missing.procedure", void(int)> procedure;
  std::int64_t out = 42;
  EXPECT_EQ(handle(1), nullptr);
  EXPECT_FALSE(flag(&out));
  EXPECT_EQ(out, 42);
  EXPECT_EQ(number(), 0.0);
  procedure(1);
}

using FrameInHost = test::InHost;

struct Wordless : std::bad_alloc {
  const char* what() const noexcept override { return ""; }
};
struct Speechless : std::exception {
  const char* what() const noexcept override { return nullptr; }
};

template <typename Thrown>
void throwGuarded(const Thrown& thrown) {
  guarded([&] { throw thrown; });
}

TEST_F(FrameInHost, EveryKindOfStandardExceptionHasItsHostException) {
  EXPECT_EQ(raisedBy([] { throwGuarded(std::bad_alloc()); }),
            std::string("OutOfMemoryException: Failed to allocate memory: ") + std::bad_alloc().what());
  EXPECT_EQ(
      raisedBy([] { throwGuarded(std::bad_array_new_length()); }),
      std::string("OutOfMemoryException: Failed to allocate memory: ") + std::bad_array_new_length().what());
  EXPECT_EQ(raisedBy([] { throwGuarded(Wordless()); }), "OutOfMemoryException: Failed to allocate memory.");
  EXPECT_EQ(raisedBy([] { throwGuarded(Speechless()); }), "RuntimeException: C++ Exception.");
  EXPECT_EQ(raisedBy([] { throwGuarded(std::range_error("r")); }),
            "OutOfBoundsException: C++ reports range error: r");
  EXPECT_EQ(raisedBy([] { throwGuarded(std::out_of_range("o")); }),
            "OutOfBoundsException: C++ reports range error: o");
  EXPECT_EQ(raisedBy([] { throwGuarded(std::overflow_error("v")); }),
            "OutOfBoundsException: C++ reports overflow error: v");
  EXPECT_EQ(raisedBy([] { throwGuarded(std::underflow_error("u")); }),
            "OutOfBoundsException: C++ reports underflow error: u");
  EXPECT_EQ(raisedBy([] { throwGuarded(std::length_error("l")); }), "RuntimeException: C++ Exception: l");
  EXPECT_EQ(raisedBy([] { throwGuarded(7); }),
            "RuntimeException: Sorry, but there was an unnamed C++ Exception.");
}

TEST_F(FrameInHost, RaisingKeepsTheMessageEvenWhereTheClassIsUnknown) {
  EXPECT_EQ(raisedBy([] { RaiseException("NoSuchException", "text \xC3\xA9"); }),
            "RuntimeException: text \xC3\xA9");
  EXPECT_EQ(raisedBy([] { RaiseException("KeyNotFoundException", nullptr); }), "KeyNotFoundException: ");
}

TEST_F(FrameInHost, BoundsMessages) {
  EXPECT_EQ(raisedBy([] { RaiseOutOfBoundsException(7, 5); }),
            "OutOfBoundsException: The parameter index  is too big. Range is 0 to 4, but value is 7.");
  EXPECT_EQ(raisedBy([] { RaiseOutOfBoundsException(-1, 3); }),
            "OutOfBoundsException: The parameter index  is too small. Range is 0 to 2, but value is -1.");
  EXPECT_EQ(raisedBy([] { RaiseOutOfBoundsException(0, 0); }),
            "OutOfBoundsException: The parameter index  is too big. Range is 0 to -1, but value is 0.");
}

struct BuiltString {
  std::string bytes;
  std::uint32_t encoding;
  friend bool operator==(const BuiltString&, const BuiltString&) = default;
};

BuiltString built(std::string_view bytes, std::uint32_t encoding) {
  REALstringStruct* string =
      REALBuildUnicodeString(bytes.data(), static_cast<std::int64_t>(bytes.size()), encoding);
  if (string == nullptr) return {"", 0};
  const StringContents contents = REALGetStringContents(string);
  BuiltString result{std::string(contents.bytes, static_cast<std::size_t>(contents.length)),
                     REALGetStringEncoding(string)};
  REALUnlockString(string);
  return result;
}

TEST_F(FrameInHost, StringsAreDeclaredByWhatTheirBytesAre) {
  for (const double version : {2024.01, 2012.0, 2011.04}) {
    rbversion_rbversion = version;
    for (const std::uint32_t encoding :
         {kEncodingMacRoman, kEncodingISOLatin1, kEncodingWindowsLatin1, kEncodingUnknown}) {
      EXPECT_EQ(built("abc", encoding), (BuiltString{"abc", kEncodingASCII}));
      EXPECT_EQ(built("ab\x80", encoding), (BuiltString{"ab\x80", encoding}));
    }
    EXPECT_EQ(built("\xC3\xA9", kEncodingUTF8), (BuiltString{"\xC3\xA9", kEncodingUTF8}));
    EXPECT_EQ(built("abc", kEncodingASCII), (BuiltString{"abc", kEncodingASCII}));
    EXPECT_EQ(built(std::string_view("\xE9\0A\0", 4), kEncodingUTF16), (BuiltString{"\xC3\xA9"
                                                                                    "A",
                                                                                    kEncodingUTF8}));
  }
}

TEST_F(FrameInHost, StringsThatCannotBeBuiltAreEmpty) {
  EXPECT_THAT(test::logLinesOf([] {
                EXPECT_EQ(REALBuildUnicodeString(nullptr, 3, kEncodingUTF8), nullptr);
                EXPECT_EQ(REALBuildUnicodeString("abc", 0, kEncodingUTF8), nullptr);
                EXPECT_EQ(REALBuildUnicodeString("abc", -1, kEncodingUTF8), nullptr);
              }),
              IsEmpty());
  EXPECT_THAT(test::logLinesOf([] {
                EXPECT_EQ(REALBuildUnicodeString("abc", std::int64_t{1} << 31, kEncodingUTF8), nullptr);
              }),
              ElementsAre("QZR Debug: Count too big for REALBuildUnicodeString."));
  EXPECT_THAT(test::logLinesOf([] { built("abc", 4711); }),
              ElementsAre("QZR Debug: Unknown encoding in REALBuildUnicodeString 4711"));
  rbversion_rbversion = 2011.04;
  host_.failFrom("REALBuildString", 1);
  EXPECT_THAT(test::logLinesOf([] {
                EXPECT_EQ(built("a\0", kEncodingUTF16), (BuiltString{"", 0}));
              }),
              ElementsAre("QZR Debug: Out of memory in REALBuildUnicodeStringUTF16."));
}

}  // namespace
}  // namespace vornik
