// vornik-host: runs Lua scripts against the library, in a host that counts every reference.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "host/console/prompt.h"
#include "host/console/session.h"

namespace {

using vornik::host::Host;
using vornik::host::HostOptions;

struct Options {
  std::string plugin = VORNIK_DEFAULT_PLUGIN;
  std::string hostVersion = "2024.01";
  bool listClasses = false;
  bool printCalls = false;
  std::string reference;            ///< directory to write the reference pages to
  std::vector<std::string> script;  ///< its path and its arguments; empty: interactive
};

class UsageFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string) const override {
    return "Usage: vornik-host [OPTIONS] [SCRIPT [ARGUMENTS...]]\n";
  }
};

void describe(CLI::App& app, Options& options) {
  app.formatter(std::make_shared<UsageFormatter>());
  app.footer(
      "SCRIPT is a Lua 5.4 file, or - for the standard input; it finds its arguments in the table arg. "
      "Without\n"
      "SCRIPT, chunks are read interactively.\n\n"
      "The exit code is not 0 after an error, or when references were left over at the end.");
  app.set_version_flag("--version", "vornik-host " VORNIK_VERSION, "Print the version, and end");
  app.add_option("--plugin", options.plugin,
                 "The library to load; by default the one built along with this program")
      ->envname("VORNIK_PLUGIN")
      ->type_name("PATH");
  app.add_option("--host-version", options.hostVersion, "The version that the host reports, or none")
      ->type_name("VERSION")
      ->capture_default_str();
  app.add_flag("--classes", options.listClasses, "List the registered classes with their members, and end");
  app.add_option("--reference", options.reference,
                 "Write the reference pages of the registered classes to this directory, and end")
      ->type_name("DIRECTORY");
  app.add_flag("--calls", options.printCalls,
               "At the end, write to stderr how often each host service was called");
  app.prefix_command();  // what follows the script's name belongs to the script
}

HostOptions hostOptions(const Options& options) {
  HostOptions result;
  if (options.hostVersion == "none") {
    result.version = std::nullopt;
    return result;
  }
  double version = 0;
  if (!CLI::detail::lexical_cast(options.hostVersion, version)) {
    throw CLI::ValidationError("--host-version",
                               "'" + options.hostVersion + "' is neither a number nor none");
  }
  result.version = version;
  return result;
}

void listClasses(const Host& host) {
  for (const auto& type : host.classes()) {
    std::printf("%s\n", type->name.c_str());
    for (const auto& property : type->properties) {
      std::printf("  property  %s as %s\n", property.name.c_str(), property.type.name.c_str());
    }
    for (const auto& method : type->methods) {
      std::printf("  method    %s%s\n", method.declaration.text.c_str(),
                  method.setter != nullptr ? "  (assignable)" : "");
    }
  }
}

int run(const Options& options, const HostOptions& hostSetup) {
  Host host(hostSetup);
  host.load(options.plugin);
  if (options.listClasses) listClasses(host);
  vornik::host::console::Session session(host);
  if (options.printCalls) session.printCallsAtEnd();
  bool succeeded = true;
  if (!options.script.empty()) {
    succeeded = session.runFile(options.script.front(), {options.script.begin() + 1, options.script.end()});
  } else if (!options.listClasses) {
    succeeded = interact(session);
  }
  return session.finish(succeeded ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app("Runs Lua scripts against the library, in a stand-in host that counts every reference.",
               "vornik-host");
  describe(app, options);
  try {
    app.parse(argc, argv);
    options.script = app.remaining();
    if (!options.reference.empty()) {
      std::filesystem::create_directories(options.reference);
      options.script = {VORNIK_REFERENCE_SCRIPT, options.reference};
    }
    if (!options.script.empty() && options.script.front().size() > 1 && options.script.front()[0] == '-') {
      throw CLI::ExtrasError({options.script.front()});
    }
    return run(options, hostOptions(options));
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vornik-host: %s\n", e.what());
    return EXIT_FAILURE;
  }
}
