// What lint finds in a document that is open in an editor.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_CHECK_H
#define ECLIPSE_INT_LANGUAGE_SERVER_CHECK_H

#include <vector>

#include "dry_run/descriptor_files.h"
#include "dry_run/plugin_functions.h"
#include "language_server/document.h"
#include "language_server/json_rpc.h"
#include "language_server/positions.h"
#include "lint/lint.h"

namespace eclipse_language_server {

/// What a check needs, apart from documents.
struct Linter {
  const eclipse_dry_run::PluginFunctions& library;
  eclipse_lint::Settings settings;
};

/// Descriptor files as the editor has them.
eclipse_dry_run::DescriptorFiles files_as_open(const std::vector<const Document*>& open);

/// What is found in a document: a list of {"rule": its name, "diagnostic": as the protocol has it, "correction": {"title",
/// "safe", "edits": as the protocol has them}}, the last only where there is one. "rule" is missing in an
/// error that makes linting impossible, and where findings are left out because there are very many. A descriptor file below
/// etc/eclipse is linted with its component; a new one alone, until it is saved. A configuration file is only read. Findings in
/// other files are left out. Throws what is an error of neither.
Json check(const Linter& linter, const std::vector<const Document*>& open, const Document& document, PositionEncoding encoding);

/// The edits, as the protocol has them, that apply all safe corrections to a document. Throws FileError.
Json safe_corrections(const Linter& linter, const std::vector<const Document*>& open, const Document& document,
                      PositionEncoding encoding);

}  // namespace eclipse_language_server

#endif
