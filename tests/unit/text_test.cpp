#include "plugin/values/text.h"

#include "plugin/frame/host_services.h"
#include "tests/unit/captured_log.h"
#include "tests/unit/in_host.h"

namespace vornik {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Text = test::InHost;

struct Forms {
  std::string utf8;
  std::u16string utf16;
};

Forms formsOf(REALstringStruct* string) {
  rbText text(string);
  if (text.utf16.length < 0) text.ConvertUTF16();
  if (text.utf8.length < 0) text.ConvertUTF8();
  EXPECT_EQ(text.utf8.data[text.utf8.length], 0);
  EXPECT_EQ(text.utf16.data[text.utf16.length], 0);
  return {std::string(text.utf8.data, static_cast<std::size_t>(text.utf8.length)),
          std::u16string(text.utf16.data, text.utf16.data + text.utf16.length)};
}

TEST_F(Text, TheSameTextInEveryEncodingHasTheSameForms) {
  const struct {
    std::uint32_t encoding;
    std::string bytes;  // "é!"
  } rows[] = {
      {kEncodingUTF8, "\xC3\xA9!"},
      {kEncodingMacRoman, "\x8E!"},
      {kEncodingISOLatin1, "\xE9!"},
      {kEncodingWindowsLatin1, "\xE9!"},
      {kEncodingUnknown, "\x8E!"},
      {kEncodingUTF16, "\xE9\0!\0"s},
      {kEncodingUTF16LE, "\xE9\0!\0"s},
      {kEncodingUTF16BE, "\0\xE9\0!"s},
      {kEncodingUTF32, "\xE9\0\0\0!\0\0\0"s},
      {kEncodingUTF32LE, "\xE9\0\0\0!\0\0\0"s},
      {kEncodingUTF32BE, "\0\0\0\xE9\0\0\0!"s},
  };
  for (const auto& row : rows) {
    const host::Value string = host_.string(row.bytes, row.encoding);
    const Forms forms = formsOf(string.string().get());
    EXPECT_EQ(forms.utf8, "\xC3\xA9!") << std::hex << row.encoding;
    EXPECT_EQ(forms.utf16, u"\u00E9!") << std::hex << row.encoding;
  }
}

TEST_F(Text, AsciiPointsIntoTheHostsBytesWhateverItIsDeclaredAs) {
  for (const std::uint32_t encoding : {kEncodingMacRoman, kEncodingISOLatin1, kEncodingWindowsLatin1,
                                       kEncodingASCII, kEncodingUTF8, kEncodingUnknown}) {
    const host::Value string = host_.string("abc", encoding);
    rbText text(string.string().get());
    if (text.utf8.length < 0) text.ConvertUTF8();
    EXPECT_EQ(text.utf8.data, REALGetStringContents(string.string().get()).bytes);
    EXPECT_EQ(text.utf8.length, 3);
    text.ConvertUTF16();
    EXPECT_EQ(text.classification(), rbText::PureASCII);
    EXPECT_EQ(std::u16string(text.utf16.data, text.utf16.data + text.utf16.length), u"abc");
  }
}

TEST_F(Text, NilAndEmptyStringsAreEmptyAndTerminated) {
  EXPECT_EQ(formsOf(nullptr).utf8, "");
  EXPECT_EQ(rbText(nullptr).classification(), rbText::PureASCII);
  for (const std::uint32_t encoding : {kEncodingUTF8, kEncodingUnknown, kEncodingUTF16, kEncodingMacRoman}) {
    EXPECT_EQ(formsOf(host_.string("", encoding).string().get()).utf16, u"");
  }
}

TEST_F(Text, TheDecoderStopsAtTheFirstIllegalSequence) {
  const struct {
    std::string bytes;
    std::u16string units;
    int illegalAt;  // -1: legal
  } rows[] = {
      {"\xC3\xA9", u"\u00E9", -1},
      {"a\xC3(b", u"a", 1},
      {"\xF0\x9F\x98\x80", u"\U0001F600", -1},
      {"\xF0\x9F\x98", u"", 0},
      {"ab\xE2\x82", u"ab", 2},
      {"\xED\xA0\x80", u"", 0},
      {"\xED\x9F\xBF", u"\uD7FF", -1},
      {"\xC0\x80", u"", 0},
      {"x\x80", u"x", 1},
      {"\xE0\x9F\xBF", u"", 0},
      {"\xF0\x8F\xBF\xBF", u"", 0},
      {"\xF4\x8F\xBF\xBF", u"\U0010FFFF", -1},
      {"\xF4\x90\x80\x80", u"", 0},
      {"\xF5\x80\x80\x80", u"", 0},
      {"a\xEF\xBB\xBF\xEF\xBF\xBE\xC3\xA9", u"a\u00E9", -1},
      {"\xE2\x82\xAC\0\xC3\xA9"s, u"\u20AC\0\u00E9"s, -1},
  };
  for (const auto& row : rows) {
    const host::Value string = host_.string(row.bytes, kEncodingUTF8);
    Forms forms;
    const auto log = test::logLinesOf([&] { forms = formsOf(string.string().get()); });
    EXPECT_EQ(forms.utf16, row.units) << ::testing::PrintToString(row.bytes);
    EXPECT_EQ(forms.utf8, row.bytes);
    if (row.illegalAt < 0) {
      EXPECT_THAT(log, ElementsAre("QZR Debug: Try UTF8 to UTF16 conversion..."));
    } else {
      EXPECT_THAT(log, ElementsAre("QZR Debug: Try UTF8 to UTF16 conversion...",
                                   "QZR Debug: Illegal UTF-8 sequence! " + std::to_string(row.illegalAt)));
    }
  }
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
  gResolver = &resolveOddHost;
  const struct {
    std::u16string given;
    std::int64_t bytes;
    std::u16string text;
    std::vector<std::string> log;
  } rows[] = {
      {u"ab", 4, u"ab", {}},
      {u"abc", 4, u"ab", {"QZR Debug: String is not zero terminated. Fixed."}},
      {u"ab", 5, u"ab", {}},
      {u"\uFFFE\u4100", 4, u"A", {"QZR Debug: String is Little Endian. Swap."}},
      {u"\uFEFF\uFFFEA", 6, u"A", {}},
      {u"\uFEFF", 2, u"", {}},
  };
  const host::Value string = host_.string("?", kEncodingUTF32);
  for (const auto& row : rows) {
    hostText = row.given;
    hostBytes = row.bytes;
    disposed = 0;
    std::u16string text;
    EXPECT_THAT(test::logLinesOf([&] {
                  rbText view(string.string().get());
                  view.ConvertUTF16();
                  text.assign(view.utf16.data, view.utf16.data + view.utf16.length);
                }),
                ::testing::ElementsAreArray(row.log));
    EXPECT_EQ(text, row.text);
    EXPECT_EQ(disposed, 1);
  }
}

TEST_F(Text, WhatTheHostCannotConvertIsEmpty) {
  const host::Value string = host_.string("\xE9", kEncodingISOLatin1);
  host_.failFrom("PluginGetStringData", 1);
  Forms forms;
  EXPECT_THAT(test::logLinesOf([&] { forms = formsOf(string.string().get()); }),
              ElementsAre("QZR Debug: REALGetStringData failed.", "QZR Debug: REALGetStringData failed."));
  EXPECT_EQ(forms.utf8, "");
  EXPECT_EQ(forms.utf16, u"");
}

TEST_F(Text, AStringOfUnknownEncodingThatCannotBeRedeclaredIsEmptyAndSaidSoOnce) {
  const host::Value string = host_.string("\x8E", kEncodingUnknown);
  host_.failFrom("REALBuildStringWithEncoding", 1);
  EXPECT_THAT(test::logLinesOf([&] {
                EXPECT_EQ(formsOf(string.string().get()).utf8, "");
                EXPECT_EQ(formsOf(string.string().get()).utf16, u"");
              }),
              ElementsAre("QZR Debug: REALBuildUnicodeString failed"));
}

void* resolveWithoutEncodings(const char* name) {
  return std::string_view(name) == "REALGetStringEncoding" ? nullptr : host::Host::resolve(name);
}

TEST_F(Text, AHostWithoutEncodingsStillHasAscii) {
  gResolver = &resolveWithoutEncodings;
  const host::Value ascii = host_.string("abc", kEncodingUTF8);
  EXPECT_EQ(formsOf(ascii.string().get()).utf16, u"abc");
  rbText text(ascii.string().get());
  EXPECT_EQ(text.encoding(), kEncodingMacRoman);
  EXPECT_EQ(text.classification(), rbText::CheckPending);
}

}  // namespace
}  // namespace vornik
