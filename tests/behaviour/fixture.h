// What the suites through the loaded library share: a host with the library in it, and a ledger that must be
// empty when the test is over.
#ifndef VORNIK_TESTS_BEHAVIOUR_FIXTURE_H
#define VORNIK_TESTS_BEHAVIOUR_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/host.h"
#include "host/value.h"

namespace vornik::behaviour {

using host::Host;
using host::HostOptions;
using host::Value;
using Values = std::vector<Value>;

/// "Class: message" of the exception that script code would see, or empty when there is none.
template <typename Operation>
std::string raised(Operation&& operation) {
  try {
    std::forward<Operation>(operation)();
    return {};
  } catch (const host::ScriptException& exception) {
    return exception.what();
  }
}

/// A host with the library loaded; tests of one suite share it, since loading takes longer than most of them.
/// A test that wants another host, or makes this one misbehave, starts its own. Values must not outlive the
/// test's body: what is still referenced when it ends is a leak and fails the test.
class LoadedLibrary : public testing::Test {
 protected:
  static void TearDownTestSuite() { host_.reset(); }

  void SetUp() override {
    if (!host_) load({});
  }

  void TearDown() override {
    expectNothingLeft();
    if (ownHost_ || HasFailure()) host_.reset();
  }

  /// Replaces the host by one with these options, and loads the library into it.
  void start(HostOptions options) {
    expectNothingLeft();
    ownHost_ = true;
    load(std::move(options));
  }

  Host& host() { return *host_; }

  Value create(const std::string& className, const Values& arguments = {}) {
    return host_->create(className, arguments);
  }
  Value call(const Value& object, const char* method, const Values& arguments = {}) {
    return host_->call(object, method, arguments);
  }

 private:
  static void expectNothingLeft() {
    if (!host_) return;
    EXPECT_THAT(host_->leftovers(), testing::IsEmpty());
  }
  static void load(HostOptions options) {
    host_.reset();
    host_ = std::make_unique<Host>(std::move(options));
    host_->load(VORNIK_PLUGIN_PATH);
  }

  static inline std::unique_ptr<Host> host_;
  bool ownHost_ = false;
};

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_BEHAVIOUR_FIXTURE_H
