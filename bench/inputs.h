// Input for the measurements: products of any size with texts of realistic lengths, the same in every run.
#ifndef ECLIPSE_INT_BENCH_INPUTS_H
#define ECLIPSE_INT_BENCH_INPUTS_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/bare_host.h"
#include "eclipse_int/eclipse_int.h"

namespace bench {

/// The file name of the Eclipse executable.
inline constexpr std::string_view executable_name = "eclipse";

/// Components and their packages. Of each hundred listed paths one is a descriptor and one an executable; half of them have
/// backslashes, and some end in line ends.
class Catalogue {
 public:
  Catalogue(std::size_t components, std::size_t paths_per_component);

  const std::vector<Component*>& components() const { return pointers_; }
  const std::vector<std::unique_ptr<BareComponent>>& owned() const { return owned_; }
  std::size_t input_bytes() const;  ///< of all listed paths
  void hand_over_lists();           ///< from now on each list is returned only once

 private:
  std::vector<std::unique_ptr<BareComponent>> owned_;
  std::vector<Component*> pointers_;
};

/// How the records of a list are ordered, and how many features they name.
enum class Orders {
  none,           ///< all without an order
  few_numbers,    ///< a hundred numbers, in any order
  many_numbers,   ///< as many numbers as records, in any order
  distinct_units  ///< all without an order, and each with a feature of its own; otherwise there are a hundred features
};

/// Records as descriptor files yield them.
std::vector<plugin_config> records(std::size_t count, Orders orders);

/// The descriptor file with these records, after a header line.
std::string descriptor_text(const std::vector<plugin_config>& records);

/// A descriptor file of lines without a tab, none of which is data.
std::string comment_text(std::size_t lines);

/// An install session: an IDE and its plug-ins in twenty components, whose packages list twenty paths for each record.
class InstallSession {
 public:
  /// Writes the descriptors and the executable, relative to the working directory.
  explicit InstallSession(std::size_t records);

  BareSession& session() { return session_; }
  std::size_t input_bytes() const { return input_bytes_; }  ///< of all listed paths and descriptors

 private:
  BareSession session_;
  std::vector<std::unique_ptr<BareComponent>> components_;
  std::size_t input_bytes_ = 0;
};

}  // namespace bench

#endif
