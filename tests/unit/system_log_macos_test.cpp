// What the other platform's log hands to its system, whose functions are played here.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "plugin/frame/system_log.h"

namespace {

struct System {
  std::vector<std::string> lines;
  std::vector<std::uint32_t> encodings;
  int strings = 0;  ///< not released yet
  int pools = 0;    ///< not popped yet
  int memory = 2;   ///< for so many strings
} played;

const std::string& text(const void* string) {
  return *static_cast<const std::string*>(string);
}

}  // namespace

extern "C" {

const void* CFStringCreateWithBytes(const void*, const std::uint8_t* bytes, long count,
                                    std::uint32_t encoding, unsigned char isExternal) {
  EXPECT_EQ(isExternal, 0);
  if (played.memory-- <= 0) return nullptr;
  ++played.strings;
  played.encodings.push_back(encoding);
  return new std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
}

void CFRelease(const void* object) {
  --played.strings;
  delete static_cast<const std::string*>(object);
}

void NSLog(const void* format, ...) {
  EXPECT_EQ(text(format), "%@");
  EXPECT_EQ(played.pools, 1);
  std::va_list arguments;
  va_start(arguments, format);
  played.lines.push_back(text(va_arg(arguments, const void*)));
  va_end(arguments);
}

void* objc_autoreleasePoolPush() {
  ++played.pools;
  return &played;
}

void objc_autoreleasePoolPop(void* pool) {
  EXPECT_EQ(pool, &played);
  --played.pools;
}

}  // extern "C"

namespace vornik {
namespace {

class SystemLogMacosTest : public ::testing::Test {
 protected:
  SystemLogMacosTest() { played = {}; }
  ~SystemLogMacosTest() override {
    EXPECT_EQ(played.strings, 0);
    EXPECT_EQ(played.pools, 0);
  }

  static std::string logged(const std::string& line, int memory = 2) {
    played.memory = memory;
    writeSystemLog(line.c_str());
    return played.lines.empty() ? "nothing" : played.lines.back();
  }
};

// What counts as text is what the decoder of host strings takes for it, where it is tested.
TEST_F(SystemLogMacosTest, TextArrivesAsItIsAndOtherBytesSpelled) {
  for (const char* line : {"", "100 %s %@", "Größe, размер, 大きさ, 🂡"}) EXPECT_EQ(logged(line), line);
  EXPECT_EQ(logged("Gr\xF6\xDF"
                   "e: gro\xC3\x9F \xF0\x9F\x82 \xED\xA0\x80!"),
            "Gr\\xF6\\xDFe: groß \\xF0\\x9F\\x82 \\xED\\xA0\\x80!");
  EXPECT_EQ(logged("cut off: \xE5\xA4"), "cut off: \\xE5\\xA4");
  EXPECT_EQ(played.encodings, std::vector<std::uint32_t>(10, 0x08000100));
}

TEST_F(SystemLogMacosTest, TheLongestLineFits) {
  std::string spelled;
  for (std::size_t i = 1; i < kSystemLogTextSize; ++i) spelled += "\\xFF";
  EXPECT_EQ(logged(std::string(kSystemLogTextSize - 1, '\xFF')), spelled);
  EXPECT_EQ(logged(std::string(kSystemLogTextSize - 1, 'x')).size(), kSystemLogTextSize - 1);
}

TEST_F(SystemLogMacosTest, WithoutMemoryNothingIsLogged) {
  for (const int memory : {0, 1}) EXPECT_EQ(logged("lost", memory), "nothing");
}

}  // namespace
}  // namespace vornik
