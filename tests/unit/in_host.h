// A fixture for the plugin's own code, linked in and talking to the stand-in host.
#ifndef VORNIK_TESTS_UNIT_IN_HOST_H
#define VORNIK_TESTS_UNIT_IN_HOST_H

#include <gmock/gmock.h>

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

/// Every test checks at its end that no reference was left over. CTest runs each test in a process of its
/// own; those that choose another resolver rely on it, as services once found stay found.
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

#endif  // VORNIK_TESTS_UNIT_IN_HOST_H
