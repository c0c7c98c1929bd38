// The console as a process: what it prints, what it complains about, and how it exits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

struct Outcome {
  int exitCode = -1;
  std::string output;
  std::string complaints;
};

class Console : public testing::Test {
 protected:
  Console() { std::filesystem::create_directories(directory_); }
  ~Console() override { std::filesystem::remove_all(directory_); }

  /// Runs the console in a directory of its own; it finds `files` there by name.
  Outcome run(const std::string& arguments, const std::string& input = {}) {
    write("input", input);
    const std::string command = "cd '" + directory_.string() + "' && '" VORNIK_CONSOLE "' " + arguments +
                                " <input >output 2>complaints";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("output"), read("complaints")};
  }
  Outcome runScript(const std::string& script) {
    write("test.lua", script);
    return run("test.lua");
  }
  void write(const std::string& name, const std::string& content) {
    std::ofstream(directory_ / name) << content;
  }
  std::string read(const std::string& name) { return contentOf(directory_ / name); }
  static std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  const std::filesystem::path directory_ =
      std::filesystem::path(testing::TempDir()) / ("console_test." + std::to_string(getpid()));
};

const std::string kScripts = VORNIK_SOURCES "/tests/behaviour/";
const std::string kExamples = VORNIK_SOURCES "/examples/";

TEST_F(Console, ScriptsSeeHostValues) {
  const Outcome outcome = run(kScripts + "console_test.lua");
  EXPECT_EQ(outcome.output, "end of console_test.lua\n");
  EXPECT_THAT(outcome.complaints, IsEmpty());
  EXPECT_EQ(outcome.exitCode, 0);
}

TEST_F(Console, ErrorsAreOneLineWithFileAndLine) {
  const struct {
    const char* script;
    const char* complaint;
  } cases[] = {
      {"\nerror('a\\nb')", "test.lua:2: a b"},
      {"\nerror('no position', 0)", "test.lua:2: no position"},
      {"error(setmetatable({}, {__tostring = function() return 'odd' end}))", "test.lua:1: odd"},
      {"\n\nx = = 1", "test.lua:3: unexpected symbol near '='"},
      {"local m = IntegerToIntegerOrderedMapQZR()\nlocal x = m.value[1]",
       "test.lua:2: KeyNotFoundException: Key not found"},
      {"local m\nprint(m.Count)", "test.lua:2: attempt to index a nil value (local 'm')"},
      {"\nFooQZR()", "test.lua:2: there is no class or function 'FooQZR'"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = runScript(c.script);
    EXPECT_EQ(outcome.complaints, std::string("vornik-host: ") + c.complaint + '\n');
    EXPECT_EQ(outcome.exitCode, 1) << c.script;
  }
}

TEST_F(Console, UnusableInputIsNamed) {
  const struct {
    const char* arguments;
    const char* complaint;
  } cases[] = {
      {"missing.lua", "missing.lua"},
      {"--plugin missing.so test.lua", "vornik-host: cannot load missing.so: No such file or directory\n"},
      {"--reference missing", "missing"},
      {"--host-version new test.lua", "'new'"},
      {"--unknown test.lua", "--unknown"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run(c.arguments);
    EXPECT_THAT(outcome.complaints, HasSubstr(c.complaint));
    EXPECT_THAT(outcome.output, IsEmpty());
    EXPECT_NE(outcome.exitCode, 0);
  }
}

TEST_F(Console, ScriptsGetTheirArgumentsAndGiveTheirExitCode) {
  write("test.lua", "print(arg[0], #arg, ...)\nos.exit(tonumber(arg[1]))");
  const Outcome outcome = run("test.lua 7 --calls 'a b'");
  EXPECT_EQ(outcome.output, "test.lua\t3\t7\t--calls\ta b\n");
  EXPECT_THAT(outcome.complaints, IsEmpty());
  EXPECT_EQ(outcome.exitCode, 7);
  EXPECT_EQ(run("-", "os.exit(false)").exitCode, 1);
}

// Everything a script still holds is given back when it ends, in whatever way it ends.
TEST_F(Console, EndsGiveReferencesBack) {
  for (const char* end : {"", "os.exit()", "coroutine.wrap(function() os.exit(0) end)()"}) {
    const Outcome outcome = runScript(
        "m = IntegerToIntegerOrderedMapQZR()\nm.value[1] = 1\nit = {m:first(), m.value}\n"
        "kept = ScriptObject('Kept', function() print('destructor', IntegerToIntegerOrderedMapQZR().Count) "
        "end)\n" +
        std::string(end));
    EXPECT_EQ(outcome.output, "destructor\t0\n") << end;
    EXPECT_THAT(outcome.complaints, IsEmpty()) << end;
    EXPECT_EQ(outcome.exitCode, 0) << end;
  }
}

TEST_F(Console, LeftoversAndFailedDestructorsMakeTheRunFail) {
  // An array that contains itself is what counting references cannot end.
  const Outcome leftover = runScript("local a = Array({}, 'Variant')\na:append(a)");
  EXPECT_THAT(leftover.complaints, ContainsRegex("^vornik-host: left over: .*1 reference\n$"));
  EXPECT_EQ(leftover.exitCode, 1);

  const Outcome failed =
      runScript("local o = ScriptObject('O', function() error('oh') end)\no = nil\ncollectgarbage()");
  EXPECT_EQ(failed.complaints, "vornik-host: error in a destructor: test.lua:1: oh\n");
  EXPECT_EQ(failed.exitCode, 1);
  // A destructor that makes another object like itself has to come to an end.
  const Outcome endless = runScript("local function again() ScriptObject('O', again) end\nagain()");
  EXPECT_EQ(endless.exitCode, 1);
  EXPECT_THAT(endless.complaints, HasSubstr("the script is ending"));
}

TEST_F(Console, PromptPrintsValuesAndGoesOnAfterErrors) {
  const Outcome outcome = run("",
                              "1 + 1, 'x'\n"
                              "m = IntegerToIntegerOrderedMapQZR()\n"
                              "for i = 1, 3 do\n"
                              "  m.value[i] = i * i\n"
                              "end\n"
                              "nonsense(\n"
                              ")\n"
                              "m.value[9]\n"
                              "m.value[3], m:find(2).Value\n");
  EXPECT_EQ(outcome.output, "2\tx\n9\t4\n");
  EXPECT_EQ(outcome.complaints,
            "vornik-host: stdin:1: there is no class or function 'nonsense'\n"
            "vornik-host: stdin:1: KeyNotFoundException: Key not found\n");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(run("", "m = 1\nm\n").exitCode, 0);
  EXPECT_THAT(run("", "for i = 1, 2 do").complaints, HasSubstr("<eof>"));
}

TEST_F(Console, ListsClassesAndCalls) {
  const Outcome classes = run("--classes");
  EXPECT_THAT(classes.output, HasSubstr("IntegerToIntegerOrderedMapQZR\n  property  MaxSize as Integer\n"));
  EXPECT_THAT(classes.output, HasSubstr("  method    value(key as integer) as integer  (assignable)\n"));
  EXPECT_EQ(classes.exitCode, 0);

  write("test.lua", "for i = 1, 5 do IntegerToIntegerOrderedMapQZR():first() end");
  const Outcome calls = run("--calls test.lua");
  EXPECT_THAT(calls.complaints, ContainsRegex(" 5  PluginNewInstance\n"));
  EXPECT_EQ(calls.exitCode, 0);
  EXPECT_EQ(run("--host-version none --calls test.lua").exitCode, 0);
}

TEST_F(Console, LineLengthsChartsAText) {
  write("text", "äöü\n\nabc\r\n12345\nabcdefghijklmnop");
  const Outcome outcome = run(kExamples + "line_lengths.lua text 10");
  EXPECT_THAT(
      outcome.output,
      AllOf(
          StartsWith("text: 5 lines, 4 different lengths, 0 to 16 characters\n"),
          HasSubstr("     0      1  █"), HasSubstr("     3      2  █"), HasSubstr(">   10      1  █"),
          Not(HasSubstr("    16      1")), HasSubstr("    16 characters  text:5\n"),
          HasSubstr("No line has 1 characters: lookup(1, -1) is -1; value[1] raises KeyNotFoundException")));
  EXPECT_THAT(outcome.complaints, IsEmpty());
  EXPECT_EQ(outcome.exitCode, 0);

  write("empty", "");
  EXPECT_EQ(run(kExamples + "line_lengths.lua empty").output, "empty: no lines\n");
  const Outcome missing = run(kExamples + "line_lengths.lua missing");
  EXPECT_THAT(missing.complaints, AllOf(StartsWith("line_lengths: cannot read missing"), EndsWith("\n")));
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(run(kExamples + "line_lengths.lua .").exitCode, 1);
}

TEST_F(Console, ExamplesReportOnTheirData) {
  const struct {
    const char* arguments;
    const char* lines[3];
  } cases[] = {
      {"word_index.lua text",
       {"Ebb                 1  1\n", "und                 2  1, 2\n", "2 times  und"}},
      {"word_index.lua text text2", {"und                 3  text2: 1; text: 1, 2\n", "", ""}},
      {"numbers.lua",
       {"  290 minutes  Bo Castell\n", "no members: 1777, 1900\n", "16 visits of 30 to 60 minutes\n"}},
      {"log_report.lua",
       {"48 requests by 5 visitors\n", "       6       3    0.195 s  /login\n", "       4  500\n"}},
  };
  write("text", "Ebb und\nFlut und");
  write("text2", "UND");
  for (const auto& c : cases) {
    const Outcome outcome = run(kExamples + c.arguments);
    for (const char* line : c.lines) EXPECT_THAT(outcome.output, HasSubstr(line)) << c.arguments;
    EXPECT_THAT(outcome.complaints, IsEmpty()) << c.arguments;
    EXPECT_EQ(outcome.exitCode, 0) << c.arguments;
  }
}

TEST_F(Console, ExamplesNameWhatTheyCannotUse) {
  write("odd", "x y\n");
  const struct {
    const char* arguments;
    const char* complaint;
  } cases[] = {
      {"word_index.lua", "word_index: name one or more texts\n"},
      {"word_index.lua missing", "word_index: cannot read missing: No such file or directory\n"},
      {"numbers.lua odd odd", "numbers: odd:1: no number and text\n"},
      {"numbers.lua input missing", "numbers: cannot read missing: No such file or directory\n"},
      {"log_report.lua odd", "log_report: odd:1: not TIME VISITOR PAGE STATUS SECONDS\n"},
      {"log_report.lua .", "log_report: cannot read .\n"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run(kExamples + c.arguments);
    EXPECT_EQ(outcome.complaints, c.complaint);
    EXPECT_EQ(outcome.exitCode, 1) << c.arguments;
  }
}

TEST_F(Console, TheTourSeesWhatItIsKnownToSee) {
  const Outcome outcome = run(kExamples + "tour.lua");
  EXPECT_EQ(outcome.output, contentOf(kScripts + "tour_expected.txt"));
  EXPECT_THAT(outcome.complaints, IsEmpty());
  EXPECT_EQ(outcome.exitCode, 0);
}

// A page that is not what the registered classes give: print it anew with --reference docs/reference.
TEST_F(Console, ReferencePagesAreUpToDate) {
  const Outcome outcome = run("--reference .");
  EXPECT_THAT(outcome.complaints, IsEmpty());
  EXPECT_EQ(outcome.exitCode, 0);
  const std::filesystem::path committed = VORNIK_SOURCES "/docs/reference";
  int pages = 0;
  for (const auto& entry : std::filesystem::directory_iterator(committed)) {
    const std::string name = entry.path().filename().string();
    if (name == "README.md") continue;
    EXPECT_TRUE(contentOf(entry.path()) == read(name)) << name << " is out of date";
    ++pages;
  }
  EXPECT_EQ(pages, 6);
}

TEST_F(Console, ReferenceDescribesEveryMemberAndNothingElse) {
  const std::string source = VORNIK_SOURCES "/host/console/reference/";
  for (const char* name : {"pages.lua", "families.lua"}) write(name, contentOf(source + name));
  const struct {
    const char* change;
    const char* complaint;
  } cases[] = {
      {"", ""},
      {"members.container.Count = nil", "reference: Count in integer-maps.md has no description\n"},
      {"members.iterator.Skip = {text = ''}",
       "reference: no class has the member Skip, which is described\n"},
  };
  for (const auto& c : cases) {
    write("members.lua",
          "local members = dofile('" + source + "members.lua')\n" + c.change + "\nreturn members");
    EXPECT_EQ(run("pages.lua . " + kExamples).complaints, c.complaint);
  }
}

TEST_F(Console, GapsFindsWhatIsMissing) {
  const Outcome outcome = run(kExamples + "gaps.lua", "7 5, 1-2 and 12; 5");
  EXPECT_EQ(outcome.output,
            "missing  3 to 4\nrepeated 5, 2 times\nmissing  6\nmissing  8 to 11\n"
            "5 numbers, 1 to 12; 7 missing\n");
  EXPECT_EQ(outcome.exitCode, 0);
}

}  // namespace
