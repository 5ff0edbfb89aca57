// Runs the benchmarks interleaved and prints medians as ratios to the floor of their group.
//
// A benchmark is named GROUP/VARIANT or GROUP/VARIANT/ARGUMENTS; the variant "floor" is what the
// others of the group, with the same arguments, are divided by. Absolute times swing on shared
// machines; the ratios of one run hold, as long as the floor's own spread stays small.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct Series {
  std::vector<double> nanoseconds;  // one an item, for each repetition
  std::map<std::string, double> counters;

  double median() {
    std::sort(nanoseconds.begin(), nanoseconds.end());
    return nanoseconds[nanoseconds.size() / 2];
  }
  // The middle half of the repetitions, relative to the median.
  double spread() {
    double const middle = median();
    std::size_t const quarter = nanoseconds.size() / 4;
    return (nanoseconds[nanoseconds.size() - 1 - quarter] - nanoseconds[quarter]) / middle;
  }
};

struct Name {
  std::string group;
  std::string variant;
  std::string arguments;

  explicit Name(std::string const& full) {
    std::size_t const first = full.find('/');
    std::size_t const second = full.find('/', first + 1);
    group = full.substr(0, first);
    variant = full.substr(first + 1, second - first - 1);
    arguments = second == std::string::npos ? "" : full.substr(second + 1);
  }
  // Groups together, and in each the floor before what is compared with it.
  std::tuple<std::string, std::string, bool, std::string> place() const {
    return {group, arguments, variant != "floor", variant};
  }
  std::string floor() const {
    return group + "/floor" + (arguments.empty() ? "" : "/" + arguments);
  }
};

class RatioReporter final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(Context const& /*context*/) override { return true; }

  void ReportRuns(std::vector<Run> const& runs) override {
    for (Run const& run : runs) {
      if (run.run_type != Run::RT_Iteration) {
        continue;
      }
      std::string const name =
          run.run_name.function_name + (run.run_name.args.empty() ? "" : "/") + run.run_name.args;
      if (run.error_occurred) {
        std::printf("%s: %s\n", name.c_str(), run.error_message.c_str());
        continue;
      }
      auto const items = run.counters.find("items");
      double const perIteration = items == run.counters.end() ? 1.0 : double(items->second);
      if (series_.count(name) == 0) {
        order_.push_back(name);
      }
      Series& series = series_[name];
      series.nanoseconds.push_back(run.real_accumulated_time * 1e9 /
                                   (double(run.iterations) * perIteration));
      for (auto const& [counter, value] : run.counters) {
        if (counter != "items" && counter != "items_per_second") {
          series.counters[counter] = value;
        }
      }
    }
  }

  void Finalize() override {
    std::printf("%-44s %12s %8s %8s\n", "", "ns an item", "spread", "x floor");
    std::sort(order_.begin(), order_.end(), [](std::string const& a, std::string const& b) {
      return Name(a).place() < Name(b).place();
    });
    for (std::string const& name : order_) {
      Series& series = series_[name];
      std::printf("%-44s %12.2f %7.0f%%", name.c_str(), series.median(), series.spread() * 100);
      auto const floor = series_.find(Name(name).floor());
      if (floor != series_.end()) {
        std::printf(" %8.2f", series.median() / floor->second.median());
      }
      for (auto const& [counter, value] : series.counters) {
        std::printf("  %s %.1f", counter.c_str(), value);
      }
      std::printf("\n");
    }
  }

 private:
  std::map<std::string, Series> series_;
  std::vector<std::string> order_;
};

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=15";
  std::string interleaving = "--benchmark_enable_random_interleaving=true";
  std::string minimum = "--benchmark_min_time=0.02";
  // Before the caller's own, which thus win.
  arguments.insert(arguments.begin() + 1,
                   {repetitions.data(), interleaving.data(), minimum.data()});
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 2;
  }
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
}
