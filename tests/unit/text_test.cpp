#include "plugin/values/text.h"

#include "plugin/frame/host_services.h"
#include "plugin/values/string_keys.h"
#include "tests/unit/captured_log.h"
#include "tests/unit/in_host.h"

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

TEST_F(Text, TheSameTextInEveryEncodingHasTheSameForms) {
  const std::pair<std::vector<std::uint32_t>, std::string> rows[] = {
      {{kEncodingUTF8}, "\xC3\xA9!"},
      {{kEncodingMacRoman, kEncodingUnknown}, "\x8E!"},
      {{kEncodingISOLatin1, kEncodingWindowsLatin1}, "\xE9!"},
      {{kEncodingUTF16, kEncodingUTF16LE}, "\xE9\0!\0"s},
      {{kEncodingUTF16BE}, "\0\xE9\0!"s},
      {{kEncodingUTF32, kEncodingUTF32LE}, "\xE9\0\0\0!\0\0\0"s},
      {{kEncodingUTF32BE}, "\0\0\0\xE9\0\0\0!"s}};
  for (const auto& [encodings, bytes] : rows) {
    for (const std::uint32_t encoding : encodings) {
      const Forms forms = formsOf(host_.string(bytes, encoding));
      EXPECT_EQ(forms.utf8, "\xC3\xA9!") << std::hex << encoding;
      EXPECT_EQ(forms.utf16, u"\u00E9!") << std::hex << encoding;
    }
  }
}

TEST_F(Text, AsciiPointsIntoTheHostsBytesWhateverItIsDeclaredAs) {
  for (const std::uint32_t encoding : {kEncodingMacRoman, kEncodingISOLatin1, kEncodingWindowsLatin1,
                                       kEncodingASCII, kEncodingUTF8, kEncodingUnknown}) {
    const host::Value string = host_.string("abc", encoding);
    rbText text(stringOf(string));
    if (text.utf8.length < 0) text.ConvertUTF8();
    EXPECT_EQ(text.utf8.data, REALGetStringContents(stringOf(string)).bytes);
    EXPECT_EQ(text.utf8.length, 3);
    text.ConvertUTF16();
    EXPECT_EQ(text.classification(), rbText::PureASCII);
    EXPECT_EQ(std::u16string(text.utf16.data, text.utf16.data + text.utf16.length), u"abc");
    EXPECT_EQ(formsOf(host_.string("", encoding)).utf16, u"");
  }
  EXPECT_EQ(formsOf(host_.string("", kEncodingUTF16)).utf16, u"");
  EXPECT_EQ(formsOf(host::StringRef()).utf8, "");
  EXPECT_EQ(rbText(nullptr).classification(), rbText::PureASCII);
}

// At which sequence the decoder stops is held against another decoder by the fuzzer of texts.
TEST_F(Text, TheDecoderSaysWhereItStops) {
  const host::Value string = host_.string("ab\xE2\x82", kEncodingUTF8);
  EXPECT_THAT(
      logLinesOf([&] { EXPECT_EQ(formsOf(string).utf16, u"ab"); }),
      ElementsAre("QZR Debug: Try UTF8 to UTF16 conversion...", "QZR Debug: Illegal UTF-8 sequence! 2"));
  EXPECT_EQ(formsOf(string).utf8, "ab\xE2\x82");
}

// A host whose converted text is not what it should be: the record points here.
std::u16string hostText;
std::int64_t hostBytes;
bool giveText(REALstringStruct*, std::uint32_t, REALstringData* record) {
  record->data = hostText.data();
  record->byteLength = hostBytes;
  return true;
}
int disposed = 0;
void dispose(REALstringData*) {
  ++disposed;
}
void* resolveOddHost(const char* name) {
  if (std::string_view(name) == "PluginGetStringData") return reinterpret_cast<void*>(&giveText);
  if (std::string_view(name) == "PluginDisposeStringData") return reinterpret_cast<void*>(&dispose);
  return host::Host::resolve(name);
}

TEST_F(Text, UTF16FromTheHostIsTerminatedSwappedAndFreedOfItsMark) {
  test::inOwnProcess([this] {
    gResolver = &resolveOddHost;
    const struct {
      std::u16string given;
      std::int64_t bytes;
      std::u16string text;
      std::vector<std::string> log = {};
    } rows[] = {{u"ab", 4, u"ab"},
                {u"abc", 4, u"ab", {"QZR Debug: String is not zero terminated. Fixed."}},
                {u"ab", 5, u"ab"},
                {u"\uFFFE\u4100", 4, u"A", {"QZR Debug: String is Little Endian. Swap."}},
                {u"\uFEFF\uFFFEA", 6, u"A"},
                {u"\uFEFF", 2, u""},
                {u"x", 0, u""},
                {u"ab", -6, u""}};
    const host::Value string = host_.string("?", kEncodingUTF32);
    for (const auto& row : rows) {
      hostText = row.given;
      hostBytes = row.bytes;
      disposed = 0;
      std::u16string text;
      EXPECT_EQ(logLinesOf([&] {
                  rbText view(stringOf(string));
                  view.ConvertUTF16();
                  text.assign(view.utf16.data, view.utf16.data + view.utf16.length);
                }),
                row.log);
      EXPECT_EQ(text, row.text);
      EXPECT_EQ(disposed, 1);
    }
    // Text of length 0 may have no terminator: it is the empty string whatever lies there.
    hostText = u"x";
    hostBytes = 0;
    EXPECT_EQ(CompareS(stringOf(string), StringOperand(nullptr)), 0);
    EXPECT_EQ(formsOf(string).utf8, "");
  });
}

TEST_F(Text, WhatTheHostCannotConvertIsEmpty) {
  const auto isEmpty = [&](const char* bytes, std::uint32_t encoding) {
    const Forms forms = formsOf(host_.string(bytes, encoding));
    EXPECT_EQ(forms.utf8, "");
    EXPECT_EQ(forms.utf16, u"");
  };
  host_.failFrom("PluginGetStringData", 1);
  EXPECT_THAT(logLinesOf([&] { isEmpty("\xE9", kEncodingISOLatin1); }),
              ElementsAre("QZR Debug: REALGetStringData failed.", "QZR Debug: REALGetStringData failed."));
  host_.failFrom("REALBuildStringWithEncoding", 1);
  EXPECT_THAT(logLinesOf([&] {
                for (int twice = 0; twice < 2; ++twice) isEmpty("\x8E", kEncodingUnknown);
              }),
              ElementsAre("QZR Debug: REALBuildUnicodeString failed"));
}

void* resolveWithoutEncodings(const char* name) {
  return std::string_view(name) == "REALGetStringEncoding" ? nullptr : host::Host::resolve(name);
}

TEST_F(Text, AHostWithoutEncodingsStillHasAscii) {
  test::inOwnProcess([this] {
    gResolver = &resolveWithoutEncodings;
    const host::Value ascii = host_.string("abc", kEncodingUTF8);
    EXPECT_EQ(formsOf(ascii).utf16, u"abc");
    rbText text(stringOf(ascii));
    EXPECT_EQ(text.encoding(), kEncodingMacRoman);
    EXPECT_EQ(text.classification(), rbText::CheckPending);
  });
}

}  // namespace
}  // namespace vornik
