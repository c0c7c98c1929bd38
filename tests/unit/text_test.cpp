#include "plugin/values/text.h"

#include <algorithm>
#include <span>

#include "host/encodings.h"
#include "plugin/frame/host_services.h"
#include "plugin/values/string_keys.h"
#include "tests/support/captured_log.h"
#include "tests/support/in_host.h"

namespace vornik {
namespace {

using namespace std::string_literals;
using test::logLinesOf;
using test::stringOf;
using ::testing::ElementsAre;
using Text = test::InHost;

struct Forms {
  std::string utf8;
  std::u16string utf16;
};

Forms formsOf(const host::Value& string) {
  rbText text(stringOf(string));
  if (text.utf16.length < 0) text.ConvertUTF16();
  if (text.utf8.length < 0) text.ConvertUTF8();
  EXPECT_EQ(text.utf8.data[text.utf8.length], 0);
  EXPECT_EQ(text.utf16.data[text.utf16.length], 0);
  return {std::string(text.utf8.data, static_cast<std::size_t>(text.utf8.length)),
          std::u16string(text.utf16.data, text.utf16.data + text.utf16.length)};
}

// Those of single bytes come first.
constexpr std::uint32_t kEncodings[] = {kEncodingMacRoman, kEncodingISOLatin1, kEncodingWindowsLatin1,
                                        kEncodingASCII,    kEncodingUTF8,      kEncodingUnknown,
                                        kEncodingUTF16,    kEncodingUTF16BE,   kEncodingUTF16LE,
                                        kEncodingUTF32,    kEncodingUTF32BE,   kEncodingUTF32LE};

// Whose first byte is the least that is not ASCII, in one of them.
TEST_F(Text, TheSameTextInEveryEncodingHasTheSameForms) {
  for (const std::uint32_t encoding : kEncodings) {
    EXPECT_EQ(formsOf(host_.string("", encoding)).utf16, u"");
    if (encoding == kEncodingASCII) continue;
    const Forms forms = formsOf(host_.string(*host::encode(u"\u00C4!", encoding), encoding));
    EXPECT_EQ(forms.utf8, "\xC3\x84!") << std::hex << encoding;
    EXPECT_EQ(forms.utf16, u"\u00C4!") << std::hex << encoding;
  }
}

TEST_F(Text, AsciiPointsIntoTheHostsBytesWhateverItIsDeclaredAs) {
  for (const std::uint32_t encoding : std::span(kEncodings).first(6)) {
    const host::Value string = host_.string("abc", encoding);
    EXPECT_EQ(formsOf(string).utf16, u"abc");
    rbText text(stringOf(string));
    if (text.utf8.length < 0) text.ConvertUTF8();
    EXPECT_EQ(text.utf8.data, REALGetStringContents(stringOf(string)).bytes);
    text.CheckASCII();
    EXPECT_EQ(text.classification(), rbText::PureASCII);
  }
  EXPECT_EQ(formsOf(host::StringRef()).utf8, "");
  EXPECT_EQ(rbText(nullptr).classification(), rbText::PureASCII);
}

/// The decoder ends where the stand-in's has to replace something first, and leaves out the marks.
void expectDecodedAsByTheStandIn(const std::string& bytes) {
  std::vector<std::uint16_t> units(bytes.size());
  const std::string more = bytes + "\xBF\xBF\xBF";  // for who reads on
  const DecodedUTF8 ours = decodeUTF8(more.data(), std::ssize(bytes), units.data());
  std::u16string theirs = *host::decode(bytes, kEncodingUTF8);
  theirs.resize(std::min(theirs.find(u'\uFFFD'), theirs.size()));
  EXPECT_EQ(ours.consumed, std::ssize(*host::encode(theirs, kEncodingUTF8)))
      << testing::PrintToString(bytes.substr(0, 8));
  std::erase_if(theirs, [](char16_t unit) { return unit == u'\uFEFF' || unit == u'\uFFFE'; });
  units.resize(static_cast<std::size_t>(ours.units));
  const auto [unit, theirUnit] = std::mismatch(units.begin(), units.end(), theirs.begin(), theirs.end());
  EXPECT_TRUE(unit == units.end() && theirUnit == theirs.end())
      << "at unit " << unit - units.begin() << " of " << testing::PrintToString(bytes.substr(0, 8));
}

TEST_F(Text, LegalSequencesAreDecodedToTheirUnits) {
  std::u16string units;
  for (std::uint32_t point = 0; point <= 0x10FFFF; ++point) {
    if ((point >= 0xD800 && point <= 0xDFFF) || point == 0xFFFD) continue;
    if (point > 0xFFFF) units += static_cast<char16_t>(0xD7C0 + (point >> 10));
    units += static_cast<char16_t>(point > 0xFFFF ? 0xDC00 + point % 0x400 : point);
  }
  expectDecodedAsByTheStandIn(*host::encode(units, kEncodingUTF8));
}

TEST_F(Text, TheFirstIllegalSequenceEndsTheText) {
  const std::string before = "\xE2\x82\xAC";
  for (int lead = 0x80; lead <= 0xFF; ++lead) {
    const std::string cut = before + static_cast<char>(lead);
    expectDecodedAsByTheStandIn(cut);
    for (int second = 0; second <= 0xFF && !HasFailure(); ++second) {
      for (const char* rest : {"", "\x7F", "\x80", "\xC0", "\x80\x7F", "\xBF\x80", "\x80\xBF", "\xBF\xC0",
                               "\x7F\x80", "\xC0\xBF"}) {
        expectDecodedAsByTheStandIn(cut + static_cast<char>(second) + rest);
      }
    }
  }
  for (const std::uint32_t encoding : {kEncodingUTF8, kEncodingASCII}) {
    const host::Value string = host_.string(before + "\xC3(b", encoding);
    EXPECT_THAT(
        logLinesOf([&] { EXPECT_EQ(formsOf(string).utf16, u"\u20AC"); }),
        ElementsAre("QZR Debug: Try UTF8 to UTF16 conversion...", "QZR Debug: Illegal UTF-8 sequence! 3"));
  }
}

// A host whose converted text is not what it should be: the record points here; and that has no bytes.
std::u16string hostText;
std::int64_t hostBytes;
int disposed = 0;
void* resolveOddHost(const char* name) {
  constexpr bool (*giveText)(REALstringStruct*, std::uint32_t, REALstringData*) = [](auto, auto,
                                                                                     auto record) {
    record->data = hostText.empty() ? nullptr : hostText.data();
    record->byteLength = hostBytes;
    return true;
  };
  constexpr void (*dispose)(REALstringData*) = [](REALstringData*) { ++disposed; };
  constexpr const char* (*noBytes)(REALstringStruct*) = [](REALstringStruct*) -> const char* {
    return nullptr;
  };
  if (std::string_view(name) == "PluginGetStringData") return reinterpret_cast<void*>(giveText);
  if (std::string_view(name) == "PluginDisposeStringData") return reinterpret_cast<void*>(dispose);
  if (std::string_view(name) == "StringGetCString") return reinterpret_cast<void*>(noBytes);
  return host::Host::resolve(name);
}

TEST_F(Text, TextFromTheHostIsTerminatedSwappedAndFreedOfItsMark) {
  test::inOwnProcess([this] {
    gResolver = &resolveOddHost;
    const std::string unterminated = "QZR Debug: String is not zero terminated. Fixed.";
    const struct {
      std::u16string given;
      std::int64_t bytes;
      std::u16string text;
      std::vector<std::string> log = {};
    } rows[] = {{u"ab", 4, u"ab"},
                {u"abc", 4, u"ab", {unterminated, unterminated}},
                {u"ab", 5, u"ab"},
                {u"\uFFFE\u4100", 4, u"A", {"QZR Debug: String is Little Endian. Swap."}},
                {u"\uFEFF\uFFFEA", 6, u"A"},
                {u"\uFEFF", 2, u""},
                {u"x", 0, u""},  // without a unit there is no terminator either
                {u"ab", -6, u""},
                {u"", 4, u""}};
    for (const auto& row : rows) {
      hostText = row.given;
      hostBytes = row.bytes;
      disposed = 0;
      Forms forms;
      EXPECT_EQ(logLinesOf([&] { forms = formsOf(host_.string("?", kEncodingUTF32)); }), row.log);
      EXPECT_EQ(forms.utf16, row.text);
      EXPECT_EQ(forms.utf8.size(), row.text.empty() && row.bytes != 2 ? 0u : row.bytes);
      EXPECT_EQ(disposed, 2);
    }
    EXPECT_EQ(formsOf(host_.string("abc", kEncodingMacRoman)).utf8, "") << "there are no bytes";
  });
}

TEST_F(Text, WhatTheHostCannotConvertIsEmpty) {
  const std::string failed = "QZR Debug: REALGetStringData failed.",
                    unbuilt = "QZR Debug: REALBuildUnicodeString failed";
  const auto logOfEmpty = [&](const char* bytes, std::uint32_t encoding) {
    return logLinesOf([&] { EXPECT_EQ(formsOf(host_.string(bytes, encoding)).utf8, ""); });
  };
  host_.failFrom("PluginGetStringData", 1);
  EXPECT_THAT(logOfEmpty("\xE9", kEncodingISOLatin1), ElementsAre(failed, failed));
  host_.failFrom("REALBuildStringWithEncoding", 1);
  EXPECT_THAT(logOfEmpty("\x8E", kEncodingUnknown), ElementsAre(unbuilt));
  EXPECT_THAT(logOfEmpty("\x8E", kEncodingUnknown), ElementsAre()) << "said once";
}

TEST_F(Text, AHostWithoutEncodingsStillHasAscii) {
  test::inOwnProcess([this] {
    gResolver = [](const char* name) {
      return std::string_view(name) == "REALGetStringEncoding" ? nullptr : host::Host::resolve(name);
    };
    EXPECT_EQ(formsOf(host_.string("abc", kEncodingUTF8)).utf16, u"abc");
  });
}

}  // namespace
}  // namespace vornik
