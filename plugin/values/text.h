// Text of host strings, whatever encoding they are declared in.
#ifndef VORNIK_VALUES_TEXT_H
#define VORNIK_VALUES_TEXT_H

#include <cstdint>
#include <memory>

#include "plugin/frame/host_interface.h"

namespace vornik {

/// The bytes of a host string as the host stores them, without conversion. Borrows the string.
struct rbData {
  explicit rbData(REALstringStruct* string) noexcept;

  const std::uint8_t* data = nullptr;  ///< the host's; null only with length 0
  std::int64_t length = 0;             ///< in bytes
};

/// A short-lived text view of one host string: its text as zero-terminated UTF-8 and UTF-16, each made on
/// demand and at most once. Nothing fails towards the caller; text that cannot be had is empty or ends early.
///
/// Borrows the string, which must outlive the view. Text that is pure ASCII, or is UTF-8 already, is
/// never copied.
class rbText {
 public:
  enum Classification : std::int32_t { Unclassified, PureASCII, CheckPending, NotASCII };

  /// One form of the text. The data is never null and always followed by a zero unit.
  template <typename Unit>
  struct Form {
    std::int64_t length = 0;        ///< in units, without the zero behind the last; -1: not made yet
    const Unit* data = kEmpty;      ///< the host's, `owned`, or the shared empty form
    std::unique_ptr<Unit[]> owned;  ///< a copy that the view made
    REALstringData record{};        ///< text that the host converted
    bool recordFilled = false;      ///< the record must go back to the host

    static constexpr Unit kEmpty[2] = {};
  };

  explicit rbText(REALstringStruct* string) noexcept;
  ~rbText();
  rbText(const rbText&) = delete;
  rbText& operator=(const rbText&) = delete;

  /// Settles whether the string is pure ASCII, where that is still open. Linear in its length.
  void CheckASCII() noexcept;
  /// Makes the form. Callers do that once, when they find its length negative.
  void ConvertUTF8() noexcept;
  void ConvertUTF16() noexcept;

  Classification classification() const { return classification_; }

 private:
  void becomeEmpty() noexcept;
  void redeclare() noexcept;
  void widenASCII() noexcept;
  void decodeUTF8() noexcept;

  // The guards stand around everything else: what wrote over the view is reported when the view goes.
  std::uint64_t leadingGuard_;
  REALstringStruct* string_ = nullptr;
  bool ownsString_ = false;  // of unknown encoding, declared anew

 public:
  Form<char> utf8;
  Form<std::uint16_t> utf16;

 private:
  std::uint32_t encoding_ = kEncodingASCII;
  Classification classification_ = PureASCII;
  std::uint64_t trailingGuard_;
};

/// Decodes UTF-8 into UTF-16 until the first illegal sequence. Byte-order marks (U+FEFF, U+FFFE) vanish
/// wherever they stand. `units` has room for one unit a byte.
struct DecodedUTF8 {
  std::int64_t units;     ///< written
  std::int64_t consumed;  ///< bytes read; less than given where a sequence is illegal
};
DecodedUTF8 decodeUTF8(const char* bytes, std::int64_t count, std::uint16_t* units) noexcept;

}  // namespace vornik

#endif  // VORNIK_VALUES_TEXT_H
