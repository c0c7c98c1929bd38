// What the stand-in host notices about references.
#include <gtest/gtest.h>

#include "host/host.h"

namespace vornik::host {
namespace {

TEST(HostLedger, CountsThingsAndReferences) {
  Host host;
  EXPECT_EQ(host.ledger(), Host::Ledger());
  {
    const Value text = "shared";
    const Value list = host.array(kArrayOfStrings, {text, text});
    const Value boxed = host.array(kArrayOfVariants, {text, 1, nullptr});
    EXPECT_EQ(host.references(text), 4);
    EXPECT_EQ(host.references(list), 1);
    EXPECT_EQ(host.ledger(), (Host::Ledger{5, 8}));
  }
  EXPECT_EQ(host.leftovers(), std::vector<std::string>());
}

TEST(HostLedger, NamesWhatIsLeft) {
  Host host;
  host.load(HOST_SAMPLE_LIBRARY);
  const Value sample = host.create("Sample");
  host.call(sample, "Leak");
  EXPECT_EQ(host.leftovers(), (std::vector<std::string>{"object Sample #1, 1 reference",
                                                        "string \"forgotten\" #2, 1 reference"}));
}

TEST(HostLedger, LastReferenceRunsTheDestructorAtOnce) {
  Host host;
  host.load(HOST_SAMPLE_LIBRARY);
  int ended = 0;
  Value sample = host.create("Sample");
  host.call(sample, "Hold", {host.scriptObject("Script", [&] { ++ended; })});
  EXPECT_EQ(ended, 0);
  sample = Value();
  EXPECT_EQ(ended, 1);
  // Neither array nor dictionary may be torn down around a destructor that looks at the ledger.
  std::uint64_t seen = 99;
  Value list =
      host.array(kArrayOfVariants, {host.scriptObject("Script", [&] { seen = host.ledger().things; })});
  list = Value();
  EXPECT_EQ(seen, 1U) << "the object itself, until its destructor is done";
  EXPECT_EQ(host.ledger().things, 0U);
}

TEST(HostLedger, ThingsMayOutliveTheirHost) {
  Value orphan;
  {
    Host host;
    orphan = "left over";
  }
  Host host;
  orphan = Value();
  EXPECT_EQ(host.ledger().things, 0U);
}

TEST(HostLedgerDeathTest, MisuseAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Host host;
  host.load(HOST_SAMPLE_LIBRARY);
  const Value sample = host.create("Sample");
  EXPECT_DEATH(host.call(sample, "Misbehave", {0}), "giving back string \"once\" #2, which has ended");
  EXPECT_DEATH(host.call(sample, "Misbehave", {1}), "use of string \"once\" #2, which has ended");
  EXPECT_DEATH(host.call(sample, "Misbehave", {2}), "giving back 0x[0-9a-f]+, which is no handle");
  EXPECT_DEATH(host.call(sample, "Misbehave", {3}), "counting as an object of string \"a string\" #3");
}

TEST(HostLedgerDeathTest, AStaleHandleIsKnownForAWhile) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Host host;
  Value first = "first";
  REALstringStruct* stale = first.string().get();
  first = Value();
  for (int i = 0; i < 1000; ++i) Value("another");
  EXPECT_DEATH(dropReference(stale), "giving back string \"first\" #1, which has ended");
}

}  // namespace
}  // namespace vornik::host
