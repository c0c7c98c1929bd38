// Text views on raw bytes in every encoding, and the heads of texts against the texts.
#include <string>

#include "host/host.h"
#include "plugin/frame/globals.h"
#include "plugin/values/string_keys.h"
#include "plugin/values/text.h"
#include "plugin/values/text_heads.h"
#include "tests/fuzz/input.h"

namespace vornik::fuzz {
namespace {

using host::Value;

std::string checkView(const Value& string, const std::string& bytes, bool utf16First) {
  rbText text(string.string().get());
  if (utf16First && text.utf16.length < 0) text.ConvertUTF16();
  if (text.utf8.length < 0) text.ConvertUTF8();
  if (text.utf16.length < 0) text.ConvertUTF16();
  if (text.utf8.data[text.utf8.length] != 0 || text.utf16.data[text.utf16.length] != 0)
    fault("a form without its end");
  std::string utf8(text.utf8.data, static_cast<std::size_t>(text.utf8.length));
  const bool isASCII = std::all_of(bytes.begin(), bytes.end(), [](char c) { return c > 0; });
  const std::u16string utf16(text.utf16.data, text.utf16.data + text.utf16.length);
  if (text.classification() == rbText::PureASCII && isASCII &&
      utf16 != std::u16string(bytes.begin(), bytes.end()))
    fault("ASCII text that is not its bytes");
  return utf8;
}

void checkHeads(const std::string& a, const std::string& b, std::size_t shared) {
  TextPrefix prefix{std::string_view(a)};
  prefix.shorten(std::min(prefix.text().size(), commonLength(a, b)));
  const std::size_t length = std::min<std::size_t>(shared, prefix.length);
  const TextHead headA = headOf(a, prefix.length), headB = headOf(b, prefix.length);
  if (headA != headB && (headA < headB) != (a < b)) fault("heads in another order than their texts");
  if (headA == headB && reachesEnd(headA) && a != b) fault("heads that take other texts for the same");
  if (headBehindShorter(headA, prefix, length) != headOf(a, length)) fault("a head behind a shorter prefix");
}

}  // namespace
}  // namespace vornik::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vornik;
  using namespace vornik::fuzz;
  static host::Host host;
  gResolver = &host::Host::resolve;
  rbversion_rbversion = 2024.01;
  Input input(data, size);
  const std::uint32_t encoding = input.among(kEncodings), other = input.among(kEncodings);
  const bool utf16First = input.oneIn(2);
  const std::size_t shared = input.byte();
  const std::string common(input.below(8) == 7 ? 120 : input.below(4) * 8, 'p');
  const std::string first = common + input.bytes(input.below(64)), second = common + input.bytes(4096);
  const Value a = host.string(first, encoding), b = host.string(second, other);
  const auto before = host.ledger();
  const auto upToZero = [](const std::string& text) { return text.substr(0, text.find('\0')); };
  const std::string textA = upToZero(checkView(a, first, utf16First));
  const std::string textB = upToZero(checkView(b, second, !utf16First));
  checkHeads(textA, textB, shared);
  const auto order = CompareS(StringOperand(a.string().get()), StringOperand(b.string().get()));
  const int expected = textA.compare(textB);
  if ((order < 0) != (expected < 0) || (order > 0) != (expected > 0))
    fault("texts in another order than their bytes");
  if (host.ledger() != before) fault("references taken and not given back");
  return 0;
}
