#include "bench/harness.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "CLI/CLI.hpp"
#include "fmt/format.h"
#include "nlohmann/json.hpp"

namespace vornik::bench {
namespace {

std::string thousands(std::size_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, ",");
  return digits;
}

const Figures::Figure* find(const Figures& figures, std::string_view operation) {
  const auto found =
      std::find_if(figures.all().begin(), figures.all().end(),
                   [&](const Figures::Figure& figure) { return figure.operation == operation; });
  return found != figures.all().end() ? &*found : nullptr;
}

/// Operations of all columns, in the order in which they come up.
std::vector<std::string> operationsOf(const std::vector<Report::Column>& columns) {
  std::vector<std::string> operations;
  for (const auto& column : columns) {
    for (const auto& figure : column.figures.all()) {
      if (std::find(operations.begin(), operations.end(), figure.operation) == operations.end()) {
        operations.push_back(figure.operation);
      }
    }
  }
  return operations;
}

void print(const Block& block, const std::vector<Report::Column>& columns) {
  fmt::print("\n{}\n{:22}", block.title(), block.unit);
  for (const auto& column : columns) fmt::print(" {:>20}", column.subject);
  const bool withRatios = block.unit == "ns";
  for (std::size_t i = 1; withRatios && i < columns.size(); ++i) fmt::print("  ratio");
  fmt::print("\n");
  for (const auto& operation : operationsOf(columns)) {
    fmt::print("{:22}", operation);
    std::string ratios;
    const Figures::Figure* const ours = find(columns.front().figures, operation);
    for (const auto& column : columns) {
      const Figures::Figure* const figure = find(column.figures, operation);
      fmt::print(" {:>20}", figure != nullptr ? fmt::format("{:.1f}", figure->value) : "-");
      if (!withRatios || &column == &columns.front()) continue;
      ratios += figure != nullptr && ours != nullptr && figure->value > 0
                    ? fmt::format(" {:>6.2f}", ours->value / figure->value)
                    : fmt::format(" {:>6}", "-");
    }
    fmt::print("{}\n", ratios);
  }
  std::fflush(stdout);
}

void checkAnswers(const Block& block, const std::vector<Report::Column>& columns) {
  for (const auto& operation : operationsOf(columns)) {
    const Figures::Figure* first = nullptr;
    for (const auto& column : columns) {
      const Figures::Figure* const figure = find(column.figures, operation);
      if (figure == nullptr) continue;
      if (first == nullptr) first = figure;
      if (figure->answer != first->answer) {
        throw std::logic_error(
            fmt::format("{}: {}: {} answered otherwise", block.title(), operation, column.subject));
      }
    }
  }
}

std::string compilerName() {
#ifdef __clang__
  return fmt::format("clang++ {}.{}.{}", __clang_major__, __clang_minor__, __clang_patchlevel__);
#else
  return fmt::format("g++ {}.{}.{}", __GNUC__, __GNUC_MINOR__, __GNUC_PATCHLEVEL__);
#endif
}

std::string libraryName() {
#ifdef _LIBCPP_VERSION
  return fmt::format("libc++ {}", _LIBCPP_VERSION / 1000);
#else
  return fmt::format("libstdc++ {}", _GLIBCXX_RELEASE);
#endif
}

}  // namespace

double nanoseconds(Clock::duration elapsed) {
  return std::chrono::duration<double, std::nano>(elapsed).count();
}

void Figures::keep(std::string_view operation, double value, std::int64_t answer) {
  for (Figure& figure : all_) {
    if (figure.operation != operation) continue;
    if (figure.answer != answer)
      throw std::logic_error(fmt::format("{}: no two passes answer alike", operation));
    figure.value = std::min(figure.value, value);
    return;
  }
  all_.push_back({std::string(operation), value, answer});
}

std::string Block::title() const {
  return fmt::format("{}{}{}{}{}", group, keys.empty() ? "" : ", ", keys, size == 0 ? "" : ", ",
                     size == 0 ? "" : thousands(size));
}

Report::Report(std::string suite, Options options) : suite_(std::move(suite)), options_(std::move(options)) {}

bool Report::wants(const Block& block) const {
  return wants(block.size) && block.title().find(options_.only) != std::string::npos;
}

void Report::add(const Block& block, const std::vector<Column>& columns) {
  checkAnswers(block, columns);
  print(block, columns);
  done_.push_back({block, columns});
}

void Report::write() const {
  if (options_.json.empty()) return;
  using Json = nlohmann::ordered_json;
  Json blocks = Json::array();
  for (const auto& [block, columns] : done_) {
    Json figures = Json::object();
    for (const auto& operation : operationsOf(columns)) {
      for (const auto& column : columns) {
        if (const auto* figure = find(column.figures, operation))
          figures[operation][column.subject] = figure->value;
      }
    }
    blocks.push_back({{"suite", suite_},
                      {"group", block.group},
                      {"keys", block.keys},
                      {"size", block.size},
                      {"unit", block.unit},
                      {"figures", figures}});
  }
  std::ofstream file(options_.json);
  file << Json{{"compiler", compilerName()},
               {"library", libraryName()},
               {"build", VORNIK_BUILD_TYPE},
               {"blocks", blocks}};
  if (!file.flush()) throw std::runtime_error("cannot write " + options_.json);
}

int benchMain(int argc, char** argv, const char* suite, const std::function<void(Report&)>& run) {
  Options options;
  options.plugin = VORNIK_PLUGIN_PATH;
  CLI::App app(fmt::format("Vornik benchmark: {}", suite));
  app.add_flag("--quick", options.quick, "fewer rounds, sizes up to 100,000");
  app.add_option("--only", options.only, "measure the tables whose title has this text in it");
  app.add_option("--json", options.json, "also write the figures to this file");
  app.add_option("--plugin", options.plugin, "library to load");
  auto* const seconds = app.add_option("--seconds", options.seconds, "how long a table is repeated at least");
  CLI11_PARSE(app, argc, argv);
  if (options.quick && seconds->empty()) options.seconds = 0.2;
  try {
    Report report(suite, options);
    run(report);
    report.write();
    return 0;
  } catch (const std::exception& failure) {
    fmt::print(stderr, "{}: {}\n", suite, failure.what());
    return 1;
  }
}

}  // namespace vornik::bench
