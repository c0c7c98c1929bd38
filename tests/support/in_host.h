// A fixture for the plugin's own code, linked in and talking to the stand-in host.
#ifndef VORNIK_TESTS_SUPPORT_IN_HOST_H
#define VORNIK_TESTS_SUPPORT_IN_HOST_H

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

#include "host/host.h"
#include "plugin/frame/globals.h"

namespace vornik::test {

inline REALstringStruct* stringOf(const host::Value& value) {
  return value.string().get();
}
inline REALobjectStruct* objectOf(const host::Value& value) {
  return value.object().get();
}

/// Runs the body in a process of its own, for tests of hosts with other services: one that was once found
/// stays found. Call it first in a test; the test before it does not count there.
template <typename Body>
void inOwnProcess(Body body) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto runAndExit = [&] {
    body();
    std::exit(::testing::Test::HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(runAndExit(), ::testing::ExitedWithCode(0), "");
}

/// Every test checks at its end that no reference was left over.
class InHost : public ::testing::Test {
 protected:
  void SetUp() override {
    gResolver = &host::Host::resolve;
    rbversion_rbversion = 2024.01;
    DebuggingEnabled = true;
  }
  void TearDown() override { EXPECT_THAT(host_.leftovers(), ::testing::IsEmpty()); }

  /// "Class: message" of the host exception that the body raises.
  template <typename Body>
  std::string raisedBy(Body body) {
    try {
      host::Host::PluginCall call;
      body();
      call.finish();
    } catch (const host::ScriptException& e) {
      EXPECT_EQ(e.errorNumber(), 0);
      return e.className() + ": " + e.message();
    }
    return "nothing";
  }

  host::Host host_;
};

}  // namespace vornik::test

#endif  // VORNIK_TESTS_SUPPORT_IN_HOST_H
