// A product in a directory of its own, with an Eclipse instance that is a copy of the prepared one.
#ifndef ECLIPSE_INT_TESTS_DIRECTOR_PRODUCT_H
#define ECLIPSE_INT_TESTS_DIRECTOR_PRODUCT_H

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// What the command made of a session.
struct Outcome {
  int status;             ///< its exit status
  nlohmann::json result;  ///< what it printed with --json
  nlohmann::json plan;    ///< what "plan --resolve" printed before

  std::vector<int> exit_codes() const;
  std::vector<std::string> commands() const;
  std::string variable(const std::string& name) const;
};

/// The command and the JSON document that it printed.
struct Child {
  int status;
  nlohmann::json result;
};
/// `environment` is set for it, as "NAME=VALUE NAME=VALUE".
Child eclipse_int(const std::string& arguments, const std::string& environment = "");

class Product {
 public:
  /// `directory_name` is that of the product's directory, whose path decides what the shell makes of paths in it.
  explicit Product(const std::string& directory_name = "product");
  ~Product();
  Product(const Product&) = delete;
  Product& operator=(const Product&) = delete;

  std::filesystem::path directory() const { return directory_; }
  std::filesystem::path executable() const { return directory_ / "ide" / "eclipse"; }

  /// Adds a component with one descriptor file and copies of the named sites ("alpha", "beta.zip") below sites/.
  /// Returns its entry in the session, to be changed by the test.
  nlohmann::json& component(const std::string& code, const std::vector<std::string>& sites, const std::string& descriptor);

  /// Adds the IDE as a component whose package lists the executable.
  nlohmann::json& ide_component();

  /// Makes a site below those of a component, with the feature org.example.NAME in a version. Its bundle requires BUNDLE, if
  /// one is given, in the words of a manifest.
  void make_site(const std::string& code, const std::string& site, const std::string& name, const std::string& version,
                 const std::string& bundle = "");

  /// Writes the session as it stands in the given mode, on the instance as the user's own unless `variables` say otherwise.
  /// Returns its file in quotes for a shell.
  std::string write_session(const std::string& mode, const std::map<std::string, std::string>& variables = {}) const;

  /// Runs the session as it stands in the given mode, on the instance as the user's own unless `variables` say otherwise. What
  /// the director says of it before has to come true, and must not leave a trace in the instance; and the profile has to
  /// say what it says afterwards.
  Outcome run(const std::string& mode, const std::map<std::string, std::string>& variables = {});

  /// The features that the instance has installed, in order, without the platform's own unit.
  std::vector<std::string> installed() const;

 private:
  std::filesystem::path scratch_;
  std::filesystem::path directory_;
  nlohmann::json components_ = nlohmann::json::array();
};

/// Each of `names` as the installed root unit org.example.NAME.feature.group in version 1.0.0.
std::vector<std::string> features(const std::vector<std::string>& names);

#endif
