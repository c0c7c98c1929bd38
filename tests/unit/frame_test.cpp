// The frame with its own code linked in: binding, raising, string building.
#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include "plugin/frame/errors.h"
#include "plugin/frame/host_services.h"
#include "plugin/frame/host_string.h"
#include "tests/support/captured_log.h"
#include "tests/support/in_host.h"

namespace vornik {
namespace {

using ::testing::ElementsAre;

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
  EXPECT_EQ(service(8), 0) << "neutral while it is missing";
  gResolver = &learningResolver;
  EXPECT_EQ(service(8), 0);
  EXPECT_EQ(service(8), 0);
  EXPECT_EQ(lookups, 2);
  known = true;
  EXPECT_EQ(service(8), 4);
  EXPECT_EQ(service(6), 3);
  EXPECT_EQ(lookups, 3);
}

using FrameInHost = test::InHost;

struct Wordless : std::bad_alloc {
  const char* what() const noexcept override { return ""; }
};
struct Speechless : std::exception {
  const char* what() const noexcept override { return nullptr; }
};

template <typename Thrown>
std::function<void()> throwing(const Thrown& thrown) {
  return [thrown] { guarded([&] { throw thrown; }); };
}

TEST_F(FrameInHost, EveryFailureHasItsHostException) {
  const std::string noMemory = "OutOfMemoryException: Failed to allocate memory";
  const std::pair<std::function<void()>, std::string> rows[] = {
      {throwing(std::bad_alloc()), noMemory + ": " + std::bad_alloc().what()},
      {throwing(std::bad_array_new_length()), noMemory + ": " + std::bad_array_new_length().what()},
      {throwing(Wordless()), noMemory + "."},
      {throwing(Speechless()), "RuntimeException: C++ Exception."},
      {throwing(std::range_error("r")), "OutOfBoundsException: C++ reports range error: r"},
      {throwing(std::out_of_range("o")), "OutOfBoundsException: C++ reports range error: o"},
      {throwing(std::overflow_error("v")), "OutOfBoundsException: C++ reports overflow error: v"},
      {throwing(std::underflow_error("u")), "OutOfBoundsException: C++ reports underflow error: u"},
      {throwing(std::length_error("l")), "RuntimeException: C++ Exception: l"},
      {throwing(7), "RuntimeException: Sorry, but there was an unnamed C++ Exception."},
      {[] { RaiseException("NoSuchException", "\xC3\xA9"); }, "RuntimeException: \xC3\xA9"},
      {[] { RaiseException("KeyNotFoundException", nullptr); }, "KeyNotFoundException: "},
      {[] { RaiseOutOfBoundsException(0, 0); },
       "OutOfBoundsException: The parameter index  is too big. Range is 0 to -1, but value is 0."}};
  for (const auto& [body, expected] : rows) EXPECT_EQ(raisedBy(body), expected);
}

/// The bytes of what was built, and the encoding that it is declared as.
std::pair<std::string, std::uint32_t> built(std::string_view bytes, std::uint32_t encoding) {
  const auto string = host::StringRef::adopt(
      REALBuildUnicodeString(bytes.data(), static_cast<std::int64_t>(bytes.size()), encoding));
  const StringContents contents = REALGetStringContents(string.get());
  return {std::string(contents.bytes, static_cast<std::size_t>(contents.length)),
          REALGetStringEncoding(string.get())};
}

TEST_F(FrameInHost, StringsAreDeclaredByWhatTheirBytesAre) {
  for (const double version : {2024.01, 2012.0, 2011.04}) {
    rbversion_rbversion = version;
    host_.resetCalls();
    const auto expect = [](std::string_view given, std::uint32_t encoding, const char* bytes,
                           std::uint32_t declared) {
      EXPECT_EQ(built(given, encoding), std::pair(std::string(bytes), declared));
    };
    for (const std::uint32_t encoding :
         {kEncodingMacRoman, kEncodingISOLatin1, kEncodingWindowsLatin1, kEncodingUnknown}) {
      expect("abc", encoding, "abc", kEncodingASCII);
      expect("ab\x80", encoding, "ab\x80", encoding);
    }
    expect("\xC3\xA9", kEncodingUTF8, "\xC3\xA9", kEncodingUTF8);
    expect("abc", kEncodingASCII, "abc", kEncodingASCII);
    expect({"\xE9\0A\0", 4}, kEncodingUTF16, "\u00E9A", kEncodingUTF8);
    EXPECT_EQ(host_.calls()["REALBuildString"] == 0, version >= 2012.0);
  }
}

TEST_F(FrameInHost, StringsThatCannotBeBuiltAreEmpty) {
  built("abc", kEncodingUTF8);
  host_.resetCalls();
  EXPECT_THAT(test::logLinesOf([] {
                const std::pair<const char*, std::int64_t> given[] = {
                    {nullptr, 3}, {"abc", 0}, {"abc", -1}, {"abc", std::int64_t{1} << 31}};
                for (const auto& [bytes, count] : given) {
                  EXPECT_EQ(REALBuildUnicodeString(bytes, count, kEncodingUTF8), nullptr) << count;
                }
                EXPECT_EQ(host::Host::current().calls().at("REALBuildStringWithEncoding"), 0u) << "not asked";
                built("abc", 4711);
              }),
              ElementsAre("QZR Debug: Count too big for REALBuildUnicodeString.",
                          "QZR Debug: Unknown encoding in REALBuildUnicodeString 4711"));
  rbversion_rbversion = 2011.04;
  host_.failFrom("REALBuildString", 1);
  EXPECT_THAT(test::logLinesOf([] { EXPECT_EQ(built("a\0", kEncodingUTF16).first, ""); }),
              ElementsAre("QZR Debug: Out of memory in REALBuildUnicodeStringUTF16."));
}

}  // namespace
}  // namespace vornik
