// The console as a process: what it prints, what it complains about, and how it exits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace testing;

using Text = Matcher<std::string>;

class Console : public Test {
 protected:
  Console() { std::filesystem::create_directories(directory_); }
  ~Console() override { std::filesystem::remove_all(directory_); }

  /// Runs the console in a directory of its own, where it finds by name what write() put there.
  void expectRun(const std::string& arguments, const Matcher<int>& exitCode, const Text& output,
                 const Text& complaints = "", const std::string& input = "") {
    SCOPED_TRACE(arguments + '\n' + input);
    write("input", input);
    const std::string command = "cd '" + directory_.string() + "' && '" VORNIK_CONSOLE "' " + arguments +
                                " <input >output 2>complaints";
    const int status = std::system(command.c_str());
    EXPECT_THAT(WIFEXITED(status) ? WEXITSTATUS(status) : -1, exitCode);
    EXPECT_THAT(read("output"), output);
    EXPECT_THAT(read("complaints"), complaints);
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
      std::filesystem::path(TempDir()) / ("console_test." + std::to_string(getpid()));
};

const std::string kScripts = VORNIK_SOURCES "/tests/host/";
const std::string kExamples = VORNIK_SOURCES "/examples/";

TEST_F(Console, ScriptsAndTheTourSeeWhatTheyShould) {
  expectRun(kScripts + "console_test.lua", 0, "end of console_test.lua\n");
  SCOPED_TRACE(
      "with another class or member, tests/host/tour_expected.txt is what vornik-host examples/tour.lua prints");
  expectRun(kExamples + "tour.lua", 0, contentOf(kScripts + "tour_expected.txt"));
}

TEST_F(Console, ErrorsAreOneLineWithFileAndLine) {
  write("odd", "x y\n");
  const struct {
    std::string arguments;
    std::string complaint;
    const char* script = "";
  } rows[] = {
      {"-", "vornik-host: stdin:2: a b", "\nerror('a\\nb')"},
      {"-", "vornik-host: stdin:3: unexpected symbol near '='", "\n\nx = = 1"},
      {"-", "vornik-host: stdin:2: KeyNotFoundException: Key not found",
       "\nm = IntegerToIntegerOrderedMapQZR().value[1]"},
      {"missing.lua", "vornik-host: cannot open missing.lua: No such file or directory"},
      {"--plugin missing.so test.lua", "vornik-host: cannot load missing.so: No such file or directory"},
      {"--reference input", "vornik-host: filesystem error: "},
      {"--host-version new test.lua", "'new'"},
      {"--unknown test.lua", "not expected: --unknown"},
      {kExamples + "word_index.lua", "word_index: name one or more texts"},
      {kExamples + "numbers.lua odd odd", "numbers: odd:1: no number and text"},
      {kExamples + "log_report.lua odd", "log_report: odd:1: not TIME VISITOR PAGE STATUS SECONDS"},
      {kExamples + "log_report.lua .", "log_report: cannot read ."}};
  for (const auto& [arguments, complaint, script] : rows)
    expectRun(
        arguments, Ne(0), "",
        AnyOf(complaint + '\n', AllOf(HasSubstr(complaint), AnyOf(HasSubstr("--help"), HasSubstr("input")))),
        script);
}

TEST_F(Console, ScriptsGetTheirArgumentsAndGiveTheirExitCode) {
  write("test.lua", "print(arg[0], arg[1], #arg, ...)\nos.exit(tonumber(arg[1]))");
  expectRun("test.lua 7 --calls 'a b'", 7, "test.lua\t7\t3\t7\t--calls\ta b\n");
  expectRun("-", 1, "", "", "os.exit(false)");
}

// Everything a script still holds is given back when it ends, in whatever way it ends.
TEST_F(Console, EndsGiveReferencesBackAndNameWhatIsLeft) {
  const std::string script =
      "m = IntegerToIntegerOrderedMapQZR()\nm.value[1] = 1\nit = {m:first(), m.value}\n"
      "kept = ScriptObject('Kept', function() print(IntegerToIntegerOrderedMapQZR().Count) end)\n";
  for (const char* end : {"", "os.exit()", "coroutine.wrap(function() os.exit(0) end)()"})
    expectRun("-", 0, "0\n", "", script + end);
  // An array that contains itself is what counting references cannot end.
  expectRun("-", 1, "", ContainsRegex("^vornik-host: left over: .*1 reference\n$"),
            "local a = Array({}, 'Variant')\na:append(a)");
  expectRun("-", 1, "", "vornik-host: error in a destructor: stdin:1: oh\n",
            "local o = ScriptObject('O', function() error('oh') end)\no = nil\ncollectgarbage()");
  // A destructor that makes another object like itself has to come to an end.
  expectRun("-", 1, "", HasSubstr("the script is ending"),
            "local function again() ScriptObject('O', again) end\nagain()");
}

TEST_F(Console, PromptPrintsValuesAndGoesOnAfterErrors) {
  expectRun("", 1, "2\tx\n4\n", "vornik-host: stdin:5: there is no class or function 'nonsense'\n",
            "1 + 1, 'x'\nfor i = 1, 2 do\n  x = i * i\nend\nnonsense(\n)\nx\n");
  expectRun("", 0, AllOf(HasSubstr("m:lookup("), Not(HasSubstr("nil"))), "", "help\nhelp();\nexit \nnil");
  expectRun("", 1, "2\n", HasSubstr("stdin:3:"), "help = 2\nhelp\nx = = 1\nexit()");
  expectRun("", 1, "", HasSubstr("<eof>"), "for i = 1, 2 do");
}

TEST_F(Console, ListsClassesAndCalls) {
  expectRun("--version", 0, "vornik-host " VORNIK_VERSION "\n");
  expectRun("--classes", 0,
            AllOf(HasSubstr("IntegerToIntegerOrderedMapQZR\n  property  MaxSize as Integer\n"),
                  HasSubstr("  method    value(key as integer) as integer  (assignable)\n")));
  write("test.lua", "for i = 1, 5 do IntegerToIntegerOrderedMapQZR():first() end");
  expectRun("--host-version none --calls test.lua", 0, "", ContainsRegex(" 5  PluginNewInstance\n"));
}

TEST_F(Console, ExamplesReportOnTheirData) {
  write("text", "Ebb und\nFlut und");
  write("text2", "UND");
  write("lines", "äöü\n\nabc\r\n12345\nabcdefghijklmnop");
  write("empty", "");
  std::string reports;
  for (const char* arguments :
       {"word_index.lua text", "word_index.lua text text2", "numbers.lua", "log_report.lua",
        "line_lengths.lua lines 10", "line_lengths.lua empty", "gaps.lua"}) {
    expectRun(kExamples + arguments, 0, _, "", "7 5, 1-2 and 12; 5");
    reports += read("output") + '\n';
  }
  EXPECT_EQ(reports, contentOf(kScripts + "examples_expected.txt"));
}

TEST_F(Console, TheReadmeShowsWhatTheExampleAndThePromptPrint) {
  const std::string root = VORNIK_SOURCES "/", readme = contentOf(root + "README.md");
  expectRun(kExamples + "line_lengths.lua " + root + "examples/data/harbour.txt", 0, _);
  const std::string printed = std::regex_replace(read("output"), std::regex(root), "");
  EXPECT_THAT(readme, HasSubstr("```\n" + printed + "```\n"));

  // "3> line", and what is shown for it, with blanks for tabs.
  std::istringstream transcript(readme.substr(readme.find("\n1> ") + 1));
  std::string typed, shown, complaints, prompt = "1> ";
  for (std::string line; std::getline(transcript, line) && line != "```";) {
    if (line.starts_with(prompt)) {
      typed += line.substr(prompt.size()) + '\n';
      prompt = std::to_string(std::count(typed.begin(), typed.end(), '\n') + 1) + "> ";
    } else {
      (line.starts_with("vornik-host: ") ? complaints : shown) +=
          std::regex_replace(line, std::regex("  +"), "\t") + '\n';
    }
  }
  expectRun("", 1, shown, complaints, typed);
}

// A page that is not what the registered classes give: print it anew with --reference docs/reference.
TEST_F(Console, ReferencePagesAreUpToDate) {
  expectRun("--reference pages/new", 0, "");
  int pages = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VORNIK_SOURCES "/docs/reference")) {
    const std::string name = entry.path().filename().string();
    if (name == "README.md") continue;
    EXPECT_TRUE(contentOf(entry.path()) == read("pages/new/" + name))
        << name << " is out of date: vornik-host --reference docs/reference writes it again";
    ++pages;
  }
  EXPECT_EQ(pages, 7);
}

}  // namespace
