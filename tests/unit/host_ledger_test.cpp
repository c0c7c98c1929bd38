// What the stand-in host notices about references.
#include <gtest/gtest.h>

#include "host/host.h"

namespace vornik::host {
namespace {

TEST(HostLedger, CountsThingsAndReferences) {
  Value orphan;
  {
    Host host;
    const Value text = "shared";
    const Value list = host.array(kArrayOfStrings, {text, text});
    const Value boxed = host.array(kArrayOfVariants, {text, 1, nullptr});
    EXPECT_EQ(host.references(text), 4);
    EXPECT_EQ(host.references(list), 1);
    EXPECT_EQ(host.ledger(), (Host::Ledger{5, 8}));
    orphan = "outlives its host";
  }
  Host host;
  orphan = Value();
  EXPECT_EQ(host.ledger(), Host::Ledger());
}

TEST(HostLedger, NamesWhatIsLeftAndEndsWhatIsNot) {
  Host host;
  host.load(HOST_SAMPLE_LIBRARY);
  Value sample = host.create("Sample");
  host.call(sample, "Leak");
  EXPECT_EQ(host.leftovers(), (std::vector<std::string>{"object Sample #1, 1 reference",
                                                        "string \"forgotten\" #2, 1 reference"}));
  int ended = 0;
  host.call(sample, "Hold", {host.scriptObject("Script", [&] { ++ended; })});
  EXPECT_EQ(ended, 0);
  sample = Value();
  EXPECT_EQ(ended, 1);
  // Neither array nor dictionary may be torn down around a destructor that looks at the ledger.
  std::uint64_t seen = 99;
  Value list =
      host.array(kArrayOfVariants, {host.scriptObject("Script", [&] { seen = host.ledger().things; })});
  list = Value();
  EXPECT_EQ(seen, 2U) << "what leaked and the object itself, until its destructor is done";
  EXPECT_EQ(host.ledger().things, 1U);
}

TEST(HostLedgerDeathTest, MisuseAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Host host;
  host.load(HOST_SAMPLE_LIBRARY);
  const Value sample = host.create("Sample");
  const char* const complaints[] = {
      "giving back string \"once\" #2, which has ended", "use of string \"once\" #2, which has ended",
      "giving back 0x[0-9a-f]+, which is no handle", "counting as an object of string \"a string\" #3"};
  for (int way = 0; way < 4; ++way) EXPECT_DEATH(host.call(sample, "Misbehave", {way}), complaints[way]);

  // A handle is known for a while after its thing has ended.
  REALstringStruct* stale = Value("first").string().get();
  for (int i = 0; i < 1000; ++i) Value("another");
  EXPECT_DEATH(dropReference(stale), "giving back string \"first\" #2, which has ended");
}

}  // namespace
}  // namespace vornik::host
