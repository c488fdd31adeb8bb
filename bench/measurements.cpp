// Each case is measured for the plug-in ("ours"), for the reference model ("plain") and for the unavoidable work ("floor").
// The time is the thread's processor time from the call to its return; what the call returned is released after that.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <unordered_set>

#include "bench/inputs.h"
#include "bench/memory.h"
#include "bench/work_directory.h"
#include "exports/exports.h"

using namespace bench;
using exports::model;
using exports::plug_in;

namespace {

double seconds(const timeval& time) { return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec); }

/// The processor time of a call, without that of releasing its result.
template <typename Run>
double time_of(const Run& run) {
  const double start = processor_time();
  auto result = run();
  benchmark::DoNotOptimize(result);
  return processor_time() - start;
}

// ---- Cases -------------------------------------------------------------------------------------------------------------

// A case is a class with:
//   Case(std::size_t size)          makes the input
//   run(const exports::Table&)      does the work and returns its result, of a type that has ==
// and, where it makes sense:
//   floor()                         does the unavoidable work, and returns something
//   release_time()                  the seconds that run() takes to release the lists of files; making and releasing these
//   lists
//                                   is the host's share of run() and is not counted
//   input_bytes()                   the size of the input texts; shown beside the memory that run() needs

class Scan {
 public:
  explicit Scan(std::size_t paths) : catalogue_(100, paths / 100) {}

  /// The copies of the lists, one at a time as the plug-in gets them.
  std::size_t floor() const {
    std::size_t count = 0;
    for (const auto& component : catalogue_.owned()) count += component->packageFiles(&component->package).size();
    return count;
  }
  double release_time() const {
    const double before = time_in_package_files();
    const double whole = time_of([this] { return floor(); });
    return whole - (time_in_package_files() - before);
  }
  std::size_t input_bytes() const { return catalogue_.input_bytes(); }

 protected:
  Catalogue catalogue_;
};

struct ScanForDescriptors : Scan {
  using Scan::Scan;
  auto run(const exports::Table& library) const {
    return library.get_integration_files(catalogue_.components(), Integrate, true);
  }
};

struct ScanForExecutables : Scan {
  using Scan::Scan;
  auto run(const exports::Table& library) const {
    const EveryFileExists no_look_at_the_disk;
    return library.find_eclipse_executable(std::string(executable_name), catalogue_.components());
  }
};

struct Records {
  std::vector<plugin_config> list;
  bool operator==(const Records& other) const {
    const auto texts = [](const plugin_config& r) { return std::tie(r.repository, r.feature, r.extra, r.order, r.base_dir); };
    return std::equal(list.begin(), list.end(), other.list.begin(), other.list.end(),
                      [&](const auto& one, const auto& another) { return texts(one) == texts(another); });
  }
};

class ReadText {
 public:
  explicit ReadText(std::string text) : text_(std::move(text)) { write_file(directory_ + "/" + name_, text_); }

  Records run(const exports::Table& library) const {
    Records records;
    library.process_file({directory_, name_}, records.list);
    return records;
  }

  std::size_t input_bytes() const { return text_.size(); }

 protected:
  std::string text_;
  std::string directory_ = "product/opt/example/suite-1.4/components/component-1";
  std::string name_ = "etc/eclipse/" + std::to_string(text_.size()) + ".txt";
};

class ReadDescriptor : public ReadText {
 public:
  explicit ReadDescriptor(std::size_t lines)
      : ReadText(descriptor_text(records(lines, Orders::many_numbers))), pieces_(records(lines, Orders::many_numbers)) {}

  /// The same records, made from ready pieces in a vector with reserved room.
  Records floor() const {
    Records records;
    records.list.reserve(pieces_.size());
    for (const plugin_config& piece : pieces_) {
      records.list.push_back({piece.repository, piece.feature, piece.extra, piece.order, directory_});
    }
    return records;
  }

 private:
  std::vector<plugin_config> pieces_;
};

struct ReadComments : ReadText {
  explicit ReadComments(std::size_t lines) : ReadText(comment_text(lines)) {}

  /// One pass over the same bytes in memory.
  std::size_t floor() const {
    std::size_t lines = 1;
    const char* const end = text_.data() + text_.size();
    const auto next = [&](const char* from) {
      return static_cast<const char*>(std::memchr(from, '\n', static_cast<std::size_t>(end - from)));
    };
    for (const char* found = next(text_.data()); found != nullptr; found = next(found + 1)) ++lines;
    return lines;
  }
};

struct Lists {
  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  bool operator==(const Lists&) const = default;
};

template <Orders orders>
class MakeLists {
 public:
  explicit MakeLists(std::size_t count) : records_(records(count, orders)) {
    for (const plugin_config& record : records_) urls_.push_back("file://" + record.base_dir + "/" + record.repository);
  }

  Lists run(const exports::Table& library) const {
    Lists lists;
    library.populate_lists(records_, lists.repositories, lists.extras, lists.features);
    return lists;
  }

  /// The same lists, made from ready URLs in a known order.
  Lists floor() const {
    Lists lists;
    for (std::size_t i = 0; i < records_.size(); ++i) {
      lists.repositories.insert(urls_[i]);
      lists.extras.insert(records_[i].extra);
    }
    std::unordered_set<std::string_view> listed;
    for (const plugin_config& record : records_) {
      if (listed.insert(record.feature).second) lists.features.push_back(record.feature);
    }
    return lists;
  }

 private:
  std::vector<plugin_config> records_;
  std::vector<std::string> urls_;
};

class AddUnique {
 public:
  explicit AddUnique(std::size_t count) : records_(records(count, Orders::distinct_units)) {}

  auto run(const exports::Table& library) const {
    std::vector<std::string> list;
    for (const plugin_config& record : records_) library.add_unique(record.feature, list);
    return list;
  }

  /// The scan of the list for each item.
  auto floor() const {
    std::vector<std::string> list;
    for (const plugin_config& record : records_) {
      if (std::ranges::find(list, record.feature) == list.end()) list.push_back(record.feature);
    }
    return list;
  }

 private:
  std::vector<plugin_config> records_;
};

class Install {
 public:
  explicit Install(std::size_t records) : install_(records) {}

  std::string run(const exports::Table& library) {
    last_command().clear();
    session_t* const session = &install_.session();
    library.eclipse_integration_required(session);
    library.find_eclipse_ide(session);
    library.define_eclipse_path(session);
    library.perform_integration(session);
    if (last_command().empty()) throw std::logic_error("the session did not come to its command");
    return last_command();
  }

  std::size_t input_bytes() const { return install_.input_bytes(); }

 private:
  InstallSession install_;
};

// ---- Registration ------------------------------------------------------------------------------------------------------

/// The case for a size, made on first use and kept.
template <typename Case>
Case& input(std::size_t size) {
  static std::map<std::size_t, std::unique_ptr<Case>> inputs;
  auto& made = inputs[size];
  if (!made) made = std::make_unique<Case>(size);
  return *made;
}

template <typename Case, typename Run>
void count_memory(benchmark::State& state, const Case& made, const Run& run) {
  if constexpr (requires { made.input_bytes(); }) {
    state.counters["input_bytes"] = static_cast<double>(made.input_bytes());
    state.counters["peak_bytes"] = static_cast<double>(peak_bytes([&] { run(); }));
  }
}

benchmark::internal::Benchmark* register_one(const std::string& name, const std::function<void(benchmark::State&)>& body) {
  return benchmark::RegisterBenchmark(name.c_str(), body)->UseManualTime()->Unit(benchmark::kMillisecond);
}

template <typename Case>
benchmark::internal::Benchmark* register_library(const char* name, const char* who, const exports::Table& (*library)(),
                                                 std::size_t size) {
  return register_one(std::string(name) + "/" + who + "/" + std::to_string(size), [=](benchmark::State& state) {
    Case& made = input<Case>(size);
    const auto run = [&] { return made.run(library()); };
    for (auto _ : state) {
      if constexpr (requires { made.release_time(); }) {
        const double release = made.release_time();
        const double before = time_in_package_files();
        const double whole = time_of(run);
        state.SetIterationTime(whole - (time_in_package_files() - before) - release);
      } else {
        state.SetIterationTime(time_of(run));
      }
    }
    count_memory(state, made, run);
  });
}

template <typename Case>
void register_floor(const char* name, std::size_t size) {
  register_one(std::string(name) + "/floor/" + std::to_string(size), [=](benchmark::State& state) {
    const Case& made = input<Case>(size);
    const auto run = [&] { return made.floor(); };
    for (auto _ : state) state.SetIterationTime(time_of(run));
    count_memory(state, made, run);
  });
}

/// Times can be compared only if the results are the same.
template <typename Case>
void expect_same_results(const char* name) {
  Case made(1000);
  if (!(made.run(plug_in()) == made.run(model()))) throw std::logic_error(std::string(name) + ": the results differ");
}

/// `plain_up_to`: the largest size for the model, which takes minutes beyond it.
template <typename Case>
void register_case(const char* name, const std::vector<std::size_t>& sizes, std::size_t plain_up_to = SIZE_MAX) {
  expect_same_results<Case>(name);
  for (const std::size_t size : sizes) {
    register_library<Case>(name, "ours", plug_in, size);
    if (size <= plain_up_to) register_library<Case>(name, "plain", model, size);
    if constexpr (requires(Case made) { made.floor(); }) register_floor<Case>(name, size);
  }
}

// ---- One director start ------------------------------------------------------------------------------------------------

double processor_time_of_children() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The least that a director start can do: it lists what is installed.
void start_director() {
  const int status = std::system(
      "./instance/eclipse -nosplash -application org.eclipse.equinox.p2.director"
      " -listInstalledRoots > director.log 2>&1");
  if (status != 0) throw std::runtime_error("the director cannot be started: see eclipse/prepare");
}

void register_director(const char* name, std::size_t size) {
  register_one(std::string(name) + "/floor/" + std::to_string(size), [](benchmark::State& state) {
    if (!std::filesystem::exists("instance")) {
      // A copy, because others may use the instance at the same time. The first start fills its caches.
      std::filesystem::copy(ECLIPSE_INT_INSTANCE_DIRECTORY "/instance", "instance", std::filesystem::copy_options::recursive);
      start_director();
    }
    for (auto _ : state) {
      const double start = processor_time_of_children();
      start_director();
      state.SetIterationTime(processor_time_of_children() - start);
    }
  })->Iterations(1);
}

void register_all() {
  register_case<ScanForDescriptors>("scan for descriptors", {100'000, 1'000'000});
  register_case<ScanForExecutables>("scan for executables", {100'000, 1'000'000});
  register_case<ReadDescriptor>("read a descriptor", {10'000, 100'000});
  register_case<ReadComments>("read lines without data", {10'000, 100'000});
  register_case<MakeLists<Orders::none>>("lists, no orders", {1'000, 10'000, 100'000}, 10'000);
  register_case<MakeLists<Orders::few_numbers>>("lists, orders among 100", {1'000, 10'000, 100'000}, 10'000);
  register_case<MakeLists<Orders::many_numbers>>("lists, orders among all", {1'000, 10'000, 100'000}, 10'000);
  register_case<MakeLists<Orders::distinct_units>>("lists, all features differ", {1'000, 10'000, 100'000}, 10'000);
  register_case<AddUnique>("add_unique", {1'000, 10'000});
  register_case<Install>("install session", {100, 1'000});
  register_director("install session", 1'000);
}

}  // namespace

int main(int argc, char** argv) try {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  // Let the allocator keep the memory that it has. Otherwise the previous case decides whether a case gets fresh pages each
  // time, which costs as much as the work.
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  mallopt(M_MMAP_THRESHOLD, INT_MAX);
  const WorkDirectory directory;
  register_all();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
} catch (const std::exception& error) {
  std::cerr << argv[0] << ": " << error.what() << '\n';
  return 1;
}
