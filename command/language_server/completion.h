// What can be typed into the columns of a descriptor file.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_COMPLETION_H
#define ECLIPSE_INT_LANGUAGE_SERVER_COMPLETION_H

#include <vector>

#include "language_server/check.h"
#include "language_server/document.h"
#include "language_server/json_rpc.h"
#include "language_server/positions.h"

namespace eclipse_language_server {

/// The items for a position, each of which replaces the column: in column 1 the p2 repositories below the component's
/// directory, in column 2 the features that the repository in column 1 offers. None elsewhere, and none for a document that is
/// not below an etc/eclipse. Throws eclipse_base::FileError when the directory cannot be searched.
Json completion_items(const Linter& linter, const std::vector<const Document*>& open, const Document& document,
                      const Position& position, PositionEncoding encoding);

}  // namespace eclipse_language_server

#endif
