// The JSON documents that tests get from the command. Each is kept, and once the tests are done all are checked against their
// schemas: json_documents_conform.py, which the fixture "json_documents" runs.
#ifndef ECLIPSE_INT_TESTS_CLI_JSON_DOCUMENTS_H
#define ECLIPSE_INT_TESTS_CLI_JSON_DOCUMENTS_H

#include <string>

namespace cli_test {

/// Keeps `output`, which "eclipse-int ARGUMENTS" printed, if the arguments ask for a JSON document that has a schema. An empty
/// output is not kept; one that is not JSON fails the test.
void keep_json_document(const std::string& arguments, const std::string& output);

/// The file in which such an output is kept.
std::string kept_json_document(const std::string& arguments, const std::string& output);

}  // namespace cli_test

#endif
