// The components of the session, their providers and packages.
#include <sys/stat.h>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

constexpr std::string_view order_promise =
    "The plug-in calls the three operations by their positions in the virtual table: they come first, in this order, with "
    "nothing virtual before them.";

/// Longer codes and paths are not texts of a component, but what was read in a place where none is.
constexpr std::size_t longest_text = 1'000'000;

std::string component_name(const Component& component) { return "component " + shown(component.code); }

std::vector<Component*> components_of(const Probe& probe) {
  std::vector<Component*> components;
  for (Component* const component : probe.session->tsd.components()) {
    if (component != nullptr) components.push_back(component);
  }
  if (components.empty()) throw Skipped{"give the session a component"};
  return components;
}

constexpr Check catalogue_is_stable{
    .name = "components/stable",
    .level = Level::must,
    .title = "The catalogue has the same components in the same order each time.",
    .promise = "Every component known to the session, in the host's order, which decides the order of features that give none.",
    .harm = "Features are installed in a different order each time, or components are missed.",
    .fix = "Cast `this` to session_t*, then to your session class, and return the pointers of its catalogue in a fixed order.",
    .perform =
        [](const Probe& probe) {
          const std::vector<Component*> first = probe.session->tsd.components();
          expect(first == probe.session->tsd.components(),
                 "TSD::components(), asked again, gives the same components in the same order", "a different list",
                 "the catalogue is built anew for each call, or `this` is mistaken for another object");
        },
    .if_it_ends = "`this` is mistaken for something other than the session; it is the address of the session_t",
};

void expect_readable(const std::string& text, const char* member) {
  expect(text.size() <= longest_text && text.c_str()[text.size()] == '\0', std::string(member) + " of a component is a text",
         "no text", "the component is gone, or is not derived from Component");
}

constexpr Check components_are_alive{
    .name = "components/alive",
    .level = Level::must,
    .title = "The components of the catalogue can be used after the call that returned them.",
    .promise = "The host owns every instance and keeps each alive as long as its session.",
    .harm = "The plug-in reads freed memory: it crashes, or mistakes a component for another one.",
    .fix = "Keep the components in the session, and return their addresses.",
    .perform =
        [](const Probe& probe) {
          for (const Component* const component : components_of(probe)) {
            expect_readable(component->code, "code");
            expect_readable(component->installBase, "installBase");
            expect_readable(component->installDir, "installDir");
            const std::string copy = component->code + component->installBase + component->installDir;
          }
        },
    .after = "components/stable",
    .if_it_ends = "a component was deleted, moved with its vector, or is on the stack of a function that has returned",
};

constexpr Check conditions_are_stable{
    .name = "components/conditions-stable",
    .level = Level::must,
    .title = "The conditions of a component give the same answer each time.",
    .promise = "True if the component is (being) selected for installation in this session.",
    .harm = "The features of a component are taken or skipped by chance.",
    .fix = "Return what was decided before the first action was called.",
    .perform =
        [](const Probe& probe) {
          for (Component* const component : components_of(probe)) {
            const std::string name = " of " + component_name(*component) + ", asked again,";
            expect_equal("installCondition()" + name, component->installCondition(), component->installCondition());
            expect_equal("uninstallCondition()" + name, component->uninstallCondition(), component->uninstallCondition());
            expect_equal("getInstalled(0)" + name, component->getInstalled(0), component->getInstalled(0));
            expect(component->provider() == component->provider(), "provider()" + name + " gives the same provider",
                   "a different one", "a provider is created for each call");
          }
        },
    .after = "components/alive",
    .if_it_ends = "a Component is cast to a class that it is not",
};

constexpr Check conditions_exclude_each_other{
    .name = "components/conditions-differ",
    .level = Level::should,
    .title = "No component is selected for installation and for removal.",
    .promise = "True if the component is selected for removal in this session.",
    .harm = "The features of a component are installed in the same run that removes them.",
    .fix = "Make the conditions exclude each other.",
    .perform =
        [](const Probe& probe) {
          for (Component* const component : components_of(probe)) {
            expect(!component->installCondition() || !component->uninstallCondition(),
                   component_name(*component) + " is selected for installation or for removal, not for both",
                   "both conditions are true",
                   "a condition returns whether anything is selected, or the state before the user changed it");
          }
        },
    .after = "components/conditions-stable",
};

struct Supplied {
  Component* component;
  Provider* provider;
};

std::vector<Supplied> providers_of(const Probe& probe) {
  std::vector<Supplied> found;
  for (Component* const component : components_of(probe)) {
    if (Provider* const provider = component->provider()) found.push_back({component, provider});
  }
  if (found.empty()) throw Skipped{"give the session a component with a provider"};
  return found;
}

struct Packaged {
  Component* component;
  Provider* provider;
  Package* package;
};

Package* package_of(const Supplied& supplied) { return supplied.provider->findPackage("", supplied.component->code, ""); }

std::vector<Packaged> packages_of(const Probe& probe) {
  std::vector<Packaged> found;
  for (const Supplied& supplied : providers_of(probe)) {
    Package* const package = supplied.component->code.empty() ? nullptr : package_of(supplied);
    if (package != nullptr) found.push_back({supplied.component, supplied.provider, package});
  }
  if (found.empty()) throw Skipped{"give the session a component whose provider has a package"};
  return found;
}

constexpr Check unknown_package_is_null{
    .name = "provider/unknown-is-null",
    .level = Level::must,
    .title = "A provider returns null for an unknown package.",
    .promise = "Returns null if the provider has no such package, which is an ordinary answer.",
    .harm = "A component without a package gets the files of another, or an exception ends the action.",
    .fix = "Return null for an unknown code; do not use at() or operator[].",
    .perform =
        [](const Probe& probe) {
          for (const Supplied& supplied : providers_of(probe)) {
            expect(supplied.provider->findPackage("", "org.example.no-such-component.eclipse-int-check", "") == nullptr,
                   "findPackage() of an unknown code gives null", "a package",
                   "an entry is made for each code that is asked for");
          }
        },
    .after = "components/conditions-stable",
    .if_it_ends =
        "provider() returns the address of something other than a Provider: convert it without reinterpret_cast or void*",
};

constexpr Check packages_are_found_by_code{
    .name = "provider/finds-by-code",
    .level = Level::should,
    .title = "A provider finds a package by its code alone.",
    .promise = "The plug-in looks up by `code` alone: it passes \"\" as `repository` and as `version`.",
    .harm = "No package is found, and so no feature: the run does nothing.",
    .fix = "Ignore an empty repository and an empty version.",
    .perform =
        [](const Probe& probe) {
          const std::vector<Supplied> supplied = providers_of(probe);
          for (const Supplied& one : supplied) {
            if (!one.component->code.empty() && package_of(one) != nullptr) return;
          }
          throw Failure{"findPackage(\"\", CODE, \"\") finds the package of at least one of " +
                            std::to_string(supplied.size()) + " components",
                        "null for each", "the empty repository and version are also compared"};
        },
    .after = "provider/unknown-is-null",
};

constexpr Check package_is_one_record{
    .name = "provider/same-record",
    .level = Level::must,
    .title = "The record of a package is the same object each time.",
    .promise = "The provider keeps owning the record.",
    .harm = "Each lookup leaks a record, or returns one that was freed.",
    .fix = "Return the address of the provider's own record.",
    .perform =
        [](const Probe& probe) {
          for (const Packaged& packaged : packages_of(probe)) {
            expect(packaged.package == packaged.provider->findPackage("", packaged.component->code, ""),
                   "findPackage(), asked again, gives the same record", "a different one", "a copy is made for each call");
          }
        },
    .after = "provider/unknown-is-null",
};

constexpr Check files_are_stable{
    .name = "provider/files-stable",
    .level = Level::must,
    .title = "A package has the same files in the same order each time.",
    .promise =
        "The paths of the package's files in the package's own order, each as the package lists it: it may use \"\\\" as "
        "its separator, end in line feeds and carriage returns, or be empty (then it is skipped).",
    .harm = "Descriptor files are missed or read twice.",
    .fix = "Return a copy of the list, in a fixed order.",
    .perform =
        [](const Probe& probe) {
          for (const Packaged& packaged : packages_of(probe)) {
            const std::vector<std::string> first = packaged.provider->packageFiles(packaged.package);
            expect(first == packaged.provider->packageFiles(packaged.package),
                   "packageFiles() of " + component_name(*packaged.component) + ", asked again, gives the same list",
                   "a different list", "the list is consumed, appended to, or in the order of a hash table");
          }
        },
    .after = "provider/virtual-order",
    .if_it_ends = "`package` is cast to a class that it is not",
};

constexpr Check relative_prefix_resolves{
    .name = "provider/prefix-resolves",
    .level = Level::should,
    .title = "A relative prefix of a package leads to a directory below the root of its provider.",
    .promise = "It may be relative, and is then relative to the provider's rootPath().",
    .harm = "The executable of the internal IDE is not found, and nothing is integrated.",
    .fix = "Return the installation root from rootPath(), and give prefixes relative to it.",
    .perform =
        [](const Probe& probe) {
          bool is_checked = false;
          for (const Packaged& packaged : packages_of(probe)) {
            const std::string& prefix = packaged.package->prefix;
            if (prefix.empty() || !path_is_relative(prefix)) continue;
            is_checked = true;
            const std::string root = packaged.provider->rootPath();
            const std::string directory = std::string(root).append("/").append(prefix);
            const std::string place = resolved_path(directory);
            struct stat status;
            expect(!place.empty() && stat(place.c_str(), &status) == 0 && S_ISDIR(status.st_mode),
                   shown(directory) + " is a directory (rootPath() " + shown(root) + ", prefix " + shown(prefix) + ")",
                   place.empty() ? "no such directory" : shown(place) + " is no directory",
                   "rootPath() is a different directory, or the package is not installed yet");
          }
          if (!is_checked) throw Skipped{"give the session an installed component whose package has a relative prefix"};
        },
    .after = "provider/virtual-order resolved_path/absolute",
};

constexpr Check provider_virtual_order{
    .name = "provider/virtual-order",
    .level = Level::must,
    .title = "The virtual functions of a provider can be called as host.h declares them.",
    .promise = order_promise,
    .harm = "The plug-in calls the wrong function with these arguments, and crashes.",
    .fix = "Derive from the Provider of host.h, and let provider() convert the pointer to Provider* implicitly.",
    .perform =
        [](const Probe& probe) {
          for (const Packaged& packaged : packages_of(probe)) {
            const std::string root = packaged.provider->rootPath();
            expect(root.size() <= longest_text && packaged.provider->rootPath() == root,
                   "rootPath(), asked again, gives the same text", "a different text");
            packaged.provider->packageFiles(packaged.package);
          }
        },
    .after = "provider/unknown-is-null",
    .if_it_ends = "the host declares a Provider of its own, with other virtual functions",
};

}  // namespace

std::vector<Check> catalogue_checks() {
  return {catalogue_is_stable,     components_are_alive,       conditions_are_stable, conditions_exclude_each_other,
          unknown_package_is_null, packages_are_found_by_code, package_is_one_record, files_are_stable,
          provider_virtual_order,  relative_prefix_resolves};
}

}  // namespace host_kit
