#include "plugin/values/text.h"

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

TEST_F(Text, TheDecoderStopsAtTheFirstIllegalSequence) {
  const auto expect = [&](const std::string& bytes, const std::u16string& units, int illegalAt = -1) {
    const host::Value string = host_.string(bytes, kEncodingUTF8);
    std::vector<std::string> log{"QZR Debug: Try UTF8 to UTF16 conversion..."};
    if (illegalAt >= 0) log.push_back("QZR Debug: Illegal UTF-8 sequence! " + std::to_string(illegalAt));
    Forms forms;
    EXPECT_EQ(logLinesOf([&] { forms = formsOf(string); }), log);
    EXPECT_EQ(forms.utf16, units) << ::testing::PrintToString(bytes);
    EXPECT_EQ(forms.utf8, bytes);
  };
  for (const char* illegal :
       {"\xC0\x80", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF0\x9F\x98", "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80", "\xC3", "\xC3\xC0", "\xE1\xC0\x80", "\xE1\x80\xC0", "\xF1\x80\xC0\x80"}) {
    expect(illegal, u"", 0);
  }
  expect("x\x80", u"x", 1);
  expect("a\xC3(b", u"a", 1);
  expect("ab\xE2\x82", u"ab", 2);
  expect("\xC3\xA9\xED\x9F\xBF", u"\u00E9\uD7FF");
  expect("\xED\x80\x80", u"\uD000");
  expect("\xC2\x80\xDF\xBF\xE0\xA0\x80\xE1\x80\x80\xEF\xBF\xBF", u"\u0080\u07FF\u0800\u1000\uFFFF");
  expect("\xF0\x90\x80\x80\xF1\x80\x80\x80", u"\U00010000\U00040000");
  expect("\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", u"\U0001F600\U0010FFFF");
  expect("a\xEF\xBB\xBF\xEF\xBF\xBE\xC3\xA9", u"a\u00E9");
  expect("\xE2\x82\xAC\0\xC3\xA9"s, u"\u20AC\0\u00E9"s);
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
