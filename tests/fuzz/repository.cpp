// The input is the files of a p2 repository, in any of its forms. It is the same when it is read again, and in an archive; what
// is wrong names a file; and its metadata means the same in each form.
#include "p2/repository.h"

#include <algorithm>
#include <array>

#include "base/packing.h"
#include "base/text.h"
#include "differential/readable.h"
#include "fake_host/temporary_directory.h"
#include "fuzz/target.h"

using namespace eclipse_p2;
using differential::readable;
using fuzz::expect;
using fuzz::expect_same;

namespace {

using Files = std::map<std::string, std::string>;

template <typename Texts>
std::string lines(const std::string& title, const Texts& texts) {
  std::string all;
  for (const auto& text : texts) all += title + ": " + readable(text) + "\n";
  return all;
}

/// What is the same wherever the repository is.
std::string description_of_units(const Repository& repository) {
  std::string text = lines("needs", repository.needed_artifacts);
  for (const auto& [id, versions] : repository.units.value_or(UnitVersions())) text += readable(id) + readable(versions) + "\n";
  for (const auto& [unit, description] : repository.descriptions) {
    text += readable(text_of(unit)) + " " + readable(description.label) + readable(description.is_category) +
            readable(description.members) + readable(description.names_patched) + readable(description.is_for_other_system) +
            readable(description.foreign_actions) + readable(description.bundle_actions) + "\n";
  }
  for (const IgnoredMetadata& ignored : repository.ignored_metadata)
    text += "ignores " + ignored.name + " for " + ignored.read_instead + "\n";
  return text + readable(repository.units.has_value()) + readable(repository.is_repository) +
         readable(repository.is_composite) + readable(repository.lists_artifacts);
}

std::string description_of(const Repository& repository) {
  std::string text = description_of_units(repository) + readable(repository.exists) + readable(repository.is_directory) +
                     readable(repository.nested) + readable(repository.inner_archive) + readable(repository.error) +
                     readable(repository.is_unreadable) + readable(repository.is_endless) +
                     readable(repository.unexamined_because) + readable(repository.absolute_artifact) + "\n" +
                     lines("missing child", repository.missing_children) + lines("absolute", repository.absolute_children) +
                     lines("artifact", repository.artifacts.value_or(std::set<std::string>())) +
                     lines("missing", repository.missing_artifacts) + lines("elsewhere", repository.artifacts_elsewhere) +
                     lines("damaged", repository.damaged_artifacts);
  for (const auto& [name, artifact] : repository.artifact_files) {
    text += readable(name) + readable(artifact.path.string()) + readable(checksum_error(artifact)) + "\n";
  }
  return text;
}

Repository repository_at(const std::string& path) { return Repositories().at(path); }

bool names_a_file(const std::string& error, const Files& files) {
  if (error.starts_with("its child ")) return true;
  return std::any_of(files.begin(), files.end(), [&](const auto& file) {
    const std::string& name = file.first;
    return error.starts_with(name + " ") || error.find(" in " + name + " ") != error.npos;
  });
}

void check(const Repository& repository, const Files& files) {
  expect(repository.exists && repository.is_directory, "it exists");
  expect(repository.is_repository || (!repository.units && repository.descriptions.empty()), "only a repository has units");
  expect(repository.error.empty() || names_a_file(repository.error, files) ||
             repository.error == "p2.index excludes every metadata file that exists",
         "an error names a file");
  expect(repository.is_repository || repository.error.empty(), "only a repository has an error");
  if (!repository.units) return;
  for (const auto& [unit, description] : repository.descriptions) {
    const auto found = repository.units->find(unit.id);
    expect(found != repository.units->end() && found->second.contains(unit.version), "what is described is offered");
  }
}

/// The files of a composite and of artifacts are looked for elsewhere.
void check_in_archive(const Repository& repository, const Files& files) {
  if (files.empty()) return;
  fake::write_file("site.zip", base_test::zipped(files));
  const Repository packed = repository_at("site.zip");
  expect_same("read again in an archive", description_of(repository_at("site.zip")), description_of(packed));
  const bool is_index_read =
      std::none_of(files.begin(), files.end(), [](const auto& file) { return file.first.starts_with("p2.index/"); });
  if (repository.is_composite || packed.is_composite || repository.lists_artifacts || !is_index_read) return;
  expect_same("in an archive", description_of_units(packed), description_of_units(repository));
  expect_same("its error there", packed.error, repository.error);
}

/// The error without the name of the file.
std::string error_in(const std::string& error, const std::string& name) {
  return error.starts_with(name) ? error.substr(name.size()) : error;
}

void check_forms(const std::string& content) {
  fuzz::write_files("plain", {{"content.xml", content}});
  fuzz::write_files("jar", {{"content.jar", base_test::zipped({{"content.xml", content}})}});
  fuzz::write_files("xz", {{"content.xml.xz", base_test::compressed_with_xz(content)}});
  const Repository plain = repository_at("plain");
  for (const auto& [place, name] : {std::pair("jar", "content.xml in content.jar"), std::pair("xz", "content.xml.xz")}) {
    const Repository other = repository_at(place);
    Repository known = plain;
    for (IgnoredMetadata& ignored : known.ignored_metadata)
      ignored.name = eclipse_base::replaced(ignored.name, "content.xml", name);
    expect_same(place, description_of_units(other), description_of_units(known));
    expect_same("its error", error_in(other.error, name), error_in(plain.error, "content.xml"));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  const Files files = fuzz::files_in(fuzz::text_of(data, size));
  fuzz::write_files("site", files);
  const Repository repository = repository_at("site");
  check(repository, files);
  expect_same("read again", description_of(repository_at("site")), description_of(repository));
  check_in_archive(repository, files);
  const auto content = files.find("content.xml");
  if (content != files.end() && files.size() == 1) check_forms(content->second);
  return 0;
}
